# The reader of DATASETTINGS of TCM MODEL.
target_sources(tcm_module PRIVATE ${CMAKE_CURRENT_LIST_DIR}/read_data_settings.cpp)
