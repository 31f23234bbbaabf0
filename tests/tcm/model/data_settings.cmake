# Tests of the DATASETTINGS reader of TCM MODEL.
tcm_add_test(test_tcm_model_data_settings
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/data_settings_test.cpp
  LIBS tcm_module)
