# The documented examples of TCM MODEL, read into the command's settings.
tcm_add_test(test_tcm_model_examples SOURCES ${CMAKE_CURRENT_LIST_DIR}/examples_test.cpp
             LIBS tcm_module)
target_include_directories(test_tcm_model_examples PRIVATE ${CMAKE_SOURCE_DIR}/tests/tcm)
