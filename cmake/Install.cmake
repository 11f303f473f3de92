# What `cmake --install` leaves: the tool (component tool), and the libraries with their headers, a CMake package and
# pkg-config files (component development). The installed tree may be moved.

include(CMakePackageConfigHelpers)

install(TARGETS HCDCustomHook RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT tool)
if(TARGET standin) # a build for tests: its libraries are of no use to others
    return()
endif()

set(package_folder "${CMAKE_INSTALL_LIBDIR}/cmake/elmu")
set(libraries elmu_complete_logging elmu_complete_utils elmu_logging elmu_utils elmu_front elmu_host elmu_platform)
if(TARGET elmu_foundation)
    list(APPEND libraries elmu_foundation)
endif()
install(TARGETS ${libraries} EXPORT elmuTargets
        ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT development)
install(EXPORT elmuTargets NAMESPACE elmu:: DESTINATION "${package_folder}" COMPONENT development)
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/elmuConfig.cmake.in"
                              "${PROJECT_BINARY_DIR}/elmuConfig.cmake" INSTALL_DESTINATION "${package_folder}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/elmuConfigVersion.cmake" COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/elmuConfig.cmake" "${PROJECT_BINARY_DIR}/elmuConfigVersion.cmake"
        DESTINATION "${package_folder}" COMPONENT development)

# pkg-config finds the prefix from the place of the file. All libraries are static, so what they need is public.
set(pkgconfig_folder "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig")
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY "${pkgconfig_folder}" OUTPUT_VARIABLE path_to_prefix)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_LIBDIR BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}"
           OUTPUT_VARIABLE library_folder)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_INCLUDEDIR BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}"
           OUTPUT_VARIABLE header_folder)
if(HCD_HOST STREQUAL macos)
    set(host_libraries " -framework Foundation -framework CoreServices -framework SystemConfiguration")
else()
    # In one word, so that pkg-config moves no part of it: libxml2 is left out of programs that do not use it.
    set(host_libraries " -Wl,--push-state,--as-needed,-lxml2,--pop-state -ldl")
    set(host_packages "libplist-2.0")
    set(host_private_packages "libxml-2.0")
endif()
foreach(package elmu elmu-utils)
    configure_file("${PROJECT_SOURCE_DIR}/cmake/${package}.pc.in" "${PROJECT_BINARY_DIR}/${package}.pc" @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/${package}.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig"
            COMPONENT development)
endforeach()
