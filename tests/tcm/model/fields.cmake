# Tests of the TCM MODEL reading order, field groups and build options.
tcm_add_test(test_tcm_model_fields SOURCES ${CMAKE_CURRENT_LIST_DIR}/fields_test.cpp LIBS tcm_module)
