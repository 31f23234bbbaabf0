# Tests of the dimension value filters.
tcm_add_test(test_tcm_common_dim_filters
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/dim_filters_test.cpp
  LIBS tcm_module)
