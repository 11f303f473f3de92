# What `cmake --install` leaves: the tool, the libraries with their headers, and a package description through which
# another project finds them with find_package(HCDCustomHook).

include(CMakePackageConfigHelpers)

install(TARGETS HCDCustomHook RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
if(TARGET standin) # a build for tests: its libraries are of no use to others
    return()
endif()

set(libraries platform platform_host elmu_front elmu_utils elmu_logging)
if(TARGET foundation)
    list(APPEND libraries foundation)
endif()
install(TARGETS ${libraries} EXPORT HCDCustomHookTargets
        ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}")
install(EXPORT HCDCustomHookTargets NAMESPACE hcd:: DESTINATION "${CMAKE_INSTALL_LIBDIR}/cmake/HCDCustomHook")

configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/HCDCustomHookConfig.cmake.in"
                              "${PROJECT_BINARY_DIR}/HCDCustomHookConfig.cmake"
                              INSTALL_DESTINATION "${CMAKE_INSTALL_LIBDIR}/cmake/HCDCustomHook")
install(FILES "${PROJECT_BINARY_DIR}/HCDCustomHookConfig.cmake"
        DESTINATION "${CMAKE_INSTALL_LIBDIR}/cmake/HCDCustomHook")
