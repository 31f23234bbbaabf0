# Layering check: fails when a layer includes a header of a layer above it.
#   cmake -DSOURCE_DIR=<repository root> -P layering_test.cmake
# Dependencies point down only: engine and support know nothing of the layers above, the host
# knows nothing of the module, and the module reaches the engine only through the host.
if(NOT DEFINED SOURCE_DIR)
  message(FATAL_ERROR "layering check: pass -DSOURCE_DIR=<repository root>")
endif()
if(NOT IS_DIRECTORY "${SOURCE_DIR}/src")
  message(FATAL_ERROR "layering check: no src folder under '${SOURCE_DIR}'")
endif()

# layer folder : folders it must not include from (alternatives of a regular expression)
set(rules
  "engine:host|tcm"
  "support:engine|host|tcm"
  "host:tcm"
  "tcm:engine")

set(violations "")
set(count 0)
foreach(rule IN LISTS rules)
  string(REPLACE ":" ";" parts "${rule}")
  list(GET parts 0 layer)
  list(GET parts 1 banned)
  file(GLOB_RECURSE files LIST_DIRECTORIES false
    "${SOURCE_DIR}/src/${layer}/*.h" "${SOURCE_DIR}/src/${layer}/*.hpp"
    "${SOURCE_DIR}/src/${layer}/*.cpp" "${SOURCE_DIR}/src/${layer}/*.cc"
    "${SOURCE_DIR}/src/${layer}/*.def" "${SOURCE_DIR}/src/${layer}/*.inc")
  list(SORT files)
  foreach(file IN LISTS files)
    # Only real directives count: a commented-out include starts with "//", not "#".
    file(STRINGS "${file}" lines
      REGEX "^[ \t]*#[ \t]*include[ \t]*[<\"](\\.\\./)*(${banned})/")
    foreach(line IN LISTS lines)
      file(RELATIVE_PATH relative "${SOURCE_DIR}" "${file}")
      string(STRIP "${line}" line)
      string(APPEND violations "  ${relative}: ${line}\n")
      math(EXPR count "${count} + 1")
    endforeach()
  endforeach()
endforeach()

if(count GREATER 0)
  message(FATAL_ERROR "${count} layering violation(s): a layer includes a layer above it\n"
                      "${violations}")
endif()
message(STATUS "layering check: no violations under ${SOURCE_DIR}/src")
