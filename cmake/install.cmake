# Installation: `cmake --install <build> [--prefix P]` gives
#   P/<libdir>/libzorvat_core.so                 (SONAME libzorvat_core.so)
#   P/<libdir>/libzex.so                         the C interface for plugins,
#                                                beside the core (which finds
#                                                it through its RUNPATH $ORIGIN)
#   P/include/zorvat/...                         the headers, laid out as core/
#   P/<libdir>/cmake/zorvat_core/                the CMake package (zorvat::core,
#                                                zorvat_add_plugin)
#   P/<libdir>/pkgconfig/zorvat_core.pc          for pkg-config (zorvat_zex.pc:
#                                                the flags of libzex.so)
#   P/lib/zorvat/plugins/<name>/main.so          plugins (the sample one, with
#                                                the examples)
#   P/share/zorvat/locale/<lang>/LC_MESSAGES/zorvat_core.mo   catalogues
#   P/bin/zorvat-host                            the reference host (examples)
# Every path inside the package files is relative to P, so the tree can be
# moved or installed under any prefix.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(ZORVAT_INSTALL_INCLUDEDIR include/zorvat)
set(ZORVAT_INSTALL_PLUGINDIR lib/zorvat)
set(ZORVAT_INSTALL_DATADIR share/zorvat)
set(ZORVAT_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/zorvat_core)

install(TARGETS zorvat_core zex EXPORT zorvat_coreTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/core/
        DESTINATION ${ZORVAT_INSTALL_INCLUDEDIR}
        FILES_MATCHING PATTERN "*.h")
install(FILES ${PROJECT_BINARY_DIR}/generated/zorvat_version.h
        DESTINATION ${ZORVAT_INSTALL_INCLUDEDIR})
install(EXPORT zorvat_coreTargets NAMESPACE zorvat::
        DESTINATION ${ZORVAT_INSTALL_CMAKEDIR})

configure_package_config_file(
  ${PROJECT_SOURCE_DIR}/cmake/zorvat_coreConfig.cmake.in
  ${PROJECT_BINARY_DIR}/zorvat_coreConfig.cmake
  INSTALL_DESTINATION ${ZORVAT_INSTALL_CMAKEDIR}
  PATH_VARS ZORVAT_INSTALL_INCLUDEDIR ZORVAT_INSTALL_PLUGINDIR ZORVAT_INSTALL_DATADIR)
write_basic_package_version_file(
  ${PROJECT_BINARY_DIR}/zorvat_coreConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/zorvat_coreConfig.cmake
              ${PROJECT_BINARY_DIR}/zorvat_coreConfigVersion.cmake
              ${PROJECT_SOURCE_DIR}/cmake/zorvat_add_plugin.cmake
        DESTINATION ${ZORVAT_INSTALL_CMAKEDIR})

# The .pc file finds its prefix from its own location (${pcfiledir}).
file(RELATIVE_PATH ZORVAT_PC_TO_PREFIX
     /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" ZORVAT_PC_TO_PREFIX "${ZORVAT_PC_TO_PREFIX}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/zorvat_core.pc.in
               ${PROJECT_BINARY_DIR}/zorvat_core.pc @ONLY)
configure_file(${PROJECT_SOURCE_DIR}/cmake/zorvat_zex.pc.in
               ${PROJECT_BINARY_DIR}/zorvat_zex.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zorvat_core.pc ${PROJECT_BINARY_DIR}/zorvat_zex.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
