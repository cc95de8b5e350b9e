# The CMake package `orn_core` (targets ep::core and orn::core) and the pkg-config files.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/orn_core)
install(EXPORT orn_ep NAMESPACE ep:: FILE ep_targets.cmake DESTINATION ${package_dir})
install(EXPORT orn_orn NAMESPACE orn:: FILE orn_targets.cmake DESTINATION ${package_dir})
configure_package_config_file(cmake/orn_coreConfig.cmake.in ${CMAKE_BINARY_DIR}/orn_coreConfig.cmake
    INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/orn_coreConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/orn_coreConfig.cmake ${CMAKE_BINARY_DIR}/orn_coreConfigVersion.cmake
    DESTINATION ${package_dir})

# Relative to the .pc file itself, so that an installed tree can be moved.
file(RELATIVE_PATH pc_to_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
foreach(pc epcore orn_core)
    configure_file(cmake/${pc}.pc.in ${CMAKE_BINARY_DIR}/${pc}.pc @ONLY)
    install(FILES ${CMAKE_BINARY_DIR}/${pc}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
