# The readers of the output and save subcommands that TCM MODEL and TCM APPLY share.
target_sources(tcm_module PRIVATE ${CMAKE_CURRENT_LIST_DIR}/read_output.cpp)
