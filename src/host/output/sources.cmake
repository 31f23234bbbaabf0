target_sources(tcm_host PRIVATE ${CMAKE_CURRENT_LIST_DIR}/document.cpp)
