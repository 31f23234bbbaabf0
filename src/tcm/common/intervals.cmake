# The common time rules: interval compatibility, date specifications and date texts.
target_sources(tcm_module PRIVATE ${CMAKE_CURRENT_LIST_DIR}/intervals.cpp
                                  ${CMAKE_CURRENT_LIST_DIR}/date_text.cpp)
