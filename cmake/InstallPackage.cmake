# Makes the installed CMake package: find_package(MachineService) gives MachineService::machineservice and the SDK.
include(CMakePackageConfigHelpers)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/MachineService)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/MachineServiceConfig.cmake.in
    ${PROJECT_BINARY_DIR}/MachineServiceConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/MachineServiceConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/MachineServiceConfig.cmake ${PROJECT_BINARY_DIR}/MachineServiceConfigVersion.cmake
    DESTINATION ${package_dir})
install(EXPORT MachineServiceTargets NAMESPACE MachineService:: DESTINATION ${package_dir})
