# The string table is compiled in; the file in resources/ stays the one to edit.
set(TCM_STRINGS_CPP ${CMAKE_CURRENT_BINARY_DIR}/string_table_builtin.cpp)
add_custom_command(
  OUTPUT ${TCM_STRINGS_CPP}
  COMMAND ${CMAKE_COMMAND} -DINPUT=${CMAKE_SOURCE_DIR}/resources/strings.txt
          -DOUTPUT=${TCM_STRINGS_CPP} -P ${CMAKE_CURRENT_LIST_DIR}/embed_strings.cmake
  DEPENDS ${CMAKE_SOURCE_DIR}/resources/strings.txt ${CMAKE_CURRENT_LIST_DIR}/embed_strings.cmake)
target_sources(tcm_host_core PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/parser_message.cpp
  ${CMAKE_CURRENT_LIST_DIR}/fac_st_dictionary.cpp
  ${TCM_STRINGS_CPP})
