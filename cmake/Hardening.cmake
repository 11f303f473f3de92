# What makes a mistake in the code hard to use against the user. `hcd_hardening`: what the libraries and the tool are
# compiled with; not for tests, which are not optimised, and not passed on to projects that link the libraries.
# hcd_harden_program(TARGET): links a program for it as well. A flag that the compiler or the machine lacks is left out.

include(CheckCXXCompilerFlag)
include(CheckLinkerFlag)

add_library(hcd_hardening INTERFACE)
set(CMAKE_REQUIRED_FLAGS -Werror) # a compiler may merely warn of a flag that it has no use for
foreach(flag -fstack-protector-strong -fstack-clash-protection
             -fcf-protection=full -mbranch-protection=standard) # x86; AArch64
    string(MAKE_C_IDENTIFIER "HCD_HAS${flag}" has_flag)
    check_cxx_compiler_flag("${flag}" ${has_flag})
    if(${has_flag})
        target_compile_options(hcd_hardening INTERFACE ${flag})
    endif()
endforeach()
unset(CMAKE_REQUIRED_FLAGS)
# Checks of the C library need what an optimiser knows about sizes, and hide calls from a sanitizer. A C library that knows
# no level 3 takes it as its highest. A level that the system's compiler sets by itself makes way.
set(HCD_OPTIMISED $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
if(NOT HCD_SANITIZE)
    target_compile_options(hcd_hardening INTERFACE
        $<${HCD_OPTIMISED}:-U_FORTIFY_SOURCE> $<${HCD_OPTIMISED}:-D_FORTIFY_SOURCE=3>)
endif()

# On the home platform every program is like this without being asked.
function(hcd_harden_program target)
    target_link_libraries(${target} PRIVATE hcd_hardening)
    if(APPLE)
        return()
    endif()
    set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON)
    foreach(flag -pie LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
        string(MAKE_C_IDENTIFIER "HCD_LINKS${flag}" has_flag)
        check_linker_flag(CXX "${flag}" ${has_flag})
        if(${has_flag})
            target_link_options(${target} PRIVATE "${flag}")
        endif()
    endforeach()
endfunction()
