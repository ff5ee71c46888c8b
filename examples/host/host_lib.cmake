# zorvat_host_lib: the command language of zorvat-host (parser, evaluator,
# arithmetic, indexing, commands and host bridge) as a static library, so
# that the host program (main.cpp, terminal.cpp, language.cpp) and the fuzz
# target of its parser link the same code.
include_guard(GLOBAL)
file(GLOB zorvat_host_lib_sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/*.cpp)
list(REMOVE_ITEM zorvat_host_lib_sources ${CMAKE_CURRENT_LIST_DIR}/main.cpp
     ${CMAKE_CURRENT_LIST_DIR}/terminal.cpp ${CMAKE_CURRENT_LIST_DIR}/language.cpp)
add_library(zorvat_host_lib STATIC ${zorvat_host_lib_sources})
target_include_directories(zorvat_host_lib PUBLIC ${CMAKE_CURRENT_LIST_DIR})
target_link_libraries(zorvat_host_lib PUBLIC zorvat_core)
