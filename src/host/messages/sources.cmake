# The string tables are compiled in; the files in resources/strings stay the ones to edit.
set(TCM_STRINGS_CPP ${CMAKE_CURRENT_BINARY_DIR}/string_table_builtin.cpp)
file(GLOB TCM_STRING_TABLES CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/resources/strings/*.txt)
add_custom_command(
  OUTPUT ${TCM_STRINGS_CPP}
  COMMAND ${CMAKE_COMMAND} -DINPUT_DIR=${CMAKE_SOURCE_DIR}/resources/strings
          -DOUTPUT=${TCM_STRINGS_CPP} -P ${CMAKE_CURRENT_LIST_DIR}/embed_strings.cmake
  DEPENDS ${TCM_STRING_TABLES} ${CMAKE_CURRENT_LIST_DIR}/embed_strings.cmake)
target_sources(tcm_host_core PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/parser_message.cpp
  ${CMAKE_CURRENT_LIST_DIR}/fac_st_dictionary.cpp
  ${TCM_STRINGS_CPP})
