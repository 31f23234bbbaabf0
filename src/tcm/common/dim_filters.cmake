# Dimension value filters: reading DIMVALUES and settling it against the data's categories.
target_sources(tcm_module PRIVATE ${CMAKE_CURRENT_LIST_DIR}/dim_filters.cpp)
