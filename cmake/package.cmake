# What a host of one's own finds the framework with: the CMake package Vornhost, and vornhost-host for pkg-config. Both
# find themselves from where they stand, so that a prefix may be moved.
include(CMakePackageConfigHelpers)
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/Vornhost)
configure_package_config_file(
  cmake/package/VornhostConfig.cmake.in ${CMAKE_BINARY_DIR}/package/VornhostConfig.cmake
  INSTALL_DESTINATION ${package_folder}
  PATH_VARS VORN_PLUGIN_FOLDER)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/package/VornhostConfigVersion.cmake
  VERSION ${VORN_HOST_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES
  ${CMAKE_BINARY_DIR}/package/VornhostConfig.cmake ${CMAKE_BINARY_DIR}/package/VornhostConfigVersion.cmake
  DESTINATION ${package_folder})
install(EXPORT Vornhost NAMESPACE Vornhost:: FILE VornhostTargets.cmake DESTINATION ${package_folder})

set(pkg_config_folder ${CMAKE_INSTALL_DATADIR}/pkgconfig)
file(RELATIVE_PATH PREFIX_FROM_PKG_CONFIG ${CMAKE_INSTALL_PREFIX}/${pkg_config_folder} ${CMAKE_INSTALL_PREFIX})
configure_file(cmake/package/vornhost-host.pc.in ${CMAKE_BINARY_DIR}/package/vornhost-host.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/package/vornhost-host.pc DESTINATION ${pkg_config_folder})
