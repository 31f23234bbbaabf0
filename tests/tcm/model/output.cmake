# Tests of the output and save subcommands of TCM MODEL.
tcm_add_test(test_tcm_model_output SOURCES ${CMAKE_CURRENT_LIST_DIR}/output_test.cpp LIBS tcm_module)
