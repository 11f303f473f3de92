# The target `elmu_foundation`: what a source that uses Foundation is compiled and linked with. On the home platform the
# frameworks, elsewhere GNUstep's Foundation with a stand-in for the other frameworks. GNUSTEP_BASE_VERSION is GNUstep Base's
# major and minor version, such as 1.28.

add_library(elmu_foundation INTERFACE)
target_compile_options(elmu_foundation INTERFACE $<$<COMPILE_LANGUAGE:OBJC>:-std=gnu11>
                                            $<$<COMPILE_LANGUAGE:OBJCXX>:-std=c++20>)

if(APPLE)
    target_compile_options(elmu_foundation INTERFACE $<$<COMPILE_LANGUAGE:OBJC,OBJCXX>:-fno-objc-arc>)
    target_link_libraries(elmu_foundation INTERFACE "-framework Foundation" "-framework CoreServices"
                                               "-framework SystemConfiguration")
else()
    # Flags of its own making (-g, -O2, -Wall, dependency files) are left to the presets; its headers are not held to
    # this project's warnings.
    execute_process(COMMAND gnustep-config --objc-flags OUTPUT_VARIABLE flags COMMAND_ERROR_IS_FATAL ANY
                    OUTPUT_STRIP_TRAILING_WHITESPACE)
    execute_process(COMMAND gnustep-config --base-libs OUTPUT_VARIABLE libraries COMMAND_ERROR_IS_FATAL ANY
                    OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(NOT flags OR NOT libraries)
        message(FATAL_ERROR "gnustep-config says nothing; it needs make.")
    endif()
    separate_arguments(flags UNIX_COMMAND "${flags}")
    separate_arguments(libraries UNIX_COMMAND "${libraries}")
    set(folders ${flags})
    list(FILTER folders INCLUDE REGEX "^-I/usr/")
    list(TRANSFORM folders REPLACE "^-I" "")
    list(FILTER flags INCLUDE REGEX "^-(D|f)")
    list(FILTER libraries EXCLUDE REGEX "^-L/root|^-L/home|^-rdynamic$")
    find_file(gnustep_base_config GNUstepBase/GSConfig.h PATHS ${folders} NO_DEFAULT_PATH NO_CACHE REQUIRED)
    file(STRINGS "${gnustep_base_config}" definition REGEX "^#define[ \t]+GNUSTEP_BASE_VERSION[ \t]")
    string(REGEX MATCH "[0-9]+\\.[0-9]+" GNUSTEP_BASE_VERSION "${definition}")
    find_package(LibXml2 REQUIRED)
    target_include_directories(elmu_foundation SYSTEM INTERFACE ${folders})
    target_compile_options(elmu_foundation INTERFACE "$<$<COMPILE_LANGUAGE:OBJC,OBJCXX>:${flags}>")
    target_link_libraries(elmu_foundation INTERFACE ${libraries} LibXml2::LibXml2)
endif()
