# zorvat_add_plugin(NAME SOURCES source... [ROOT dir])
#
# Builds a plugin: a MODULE library linked with zorvat::core and zorvat::zex
# (the C interface of plugin/zex.h), written to
# <root>/plugins/<NAME>/main.so, the layout in which the plugin manager looks
# for it (`add(NAME, args, root)`).  ROOT defaults to ZORVAT_PLUGIN_ROOT when
# that variable is set, otherwise to ${CMAKE_BINARY_DIR}/plugin_root.  The
# target is called zx_plugin_<NAME>, so that a project can add to it or
# install it.  Sources may be C (the project then enables the C language) or
# C++:
#
#   find_package(zorvat_core CONFIG REQUIRED)
#   zorvat_add_plugin(units SOURCES units.cpp)
#   zorvat_add_plugin(stats SOURCES stats.c)
#   install(TARGETS zx_plugin_units LIBRARY DESTINATION lib/zorvat/plugins/units)
function(zorvat_add_plugin name)
  cmake_parse_arguments(ZP "" "ROOT" "SOURCES" ${ARGN})
  if(NOT ZP_SOURCES)
    message(FATAL_ERROR "zorvat_add_plugin(${name}): no SOURCES given")
  endif()
  if(NOT ZP_ROOT)
    if(ZORVAT_PLUGIN_ROOT)
      set(ZP_ROOT ${ZORVAT_PLUGIN_ROOT})
    else()
      set(ZP_ROOT ${CMAKE_BINARY_DIR}/plugin_root)
    endif()
  endif()
  add_library(zx_plugin_${name} MODULE ${ZP_SOURCES})
  target_link_libraries(zx_plugin_${name} PRIVATE zorvat::core zorvat::zex)
  set_target_properties(zx_plugin_${name} PROPERTIES
    PREFIX "" OUTPUT_NAME main SUFFIX ".so"
    LIBRARY_OUTPUT_DIRECTORY ${ZP_ROOT}/plugins/${name})
endfunction()
