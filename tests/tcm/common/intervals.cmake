# Tests of the common time rules.
tcm_add_test(test_tcm_common_intervals
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/intervals_test.cpp
  LIBS tcm_module)
