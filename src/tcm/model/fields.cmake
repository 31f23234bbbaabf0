# Readers of TCM MODEL's field groups, data filter and build options, and the shared field lists.
target_sources(tcm_module PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/read_fields.cpp
  ${CMAKE_CURRENT_LIST_DIR}/read_build_options.cpp
  ${CMAKE_CURRENT_LIST_DIR}/../frame/read_field_list.cpp)
