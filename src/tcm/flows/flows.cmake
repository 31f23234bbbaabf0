# The flow script composer, TSJsonConf and the file configurations.
target_sources(tcm_module PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/ts_json_conf.cpp
  ${CMAKE_CURRENT_LIST_DIR}/flow_blocks.cpp
  ${CMAKE_CURRENT_LIST_DIR}/flow_scripts.cpp)
