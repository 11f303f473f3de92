# A room is a folder that builds one target. Its headers are included as <room/Header.h>, and only by targets
# that link it: each target's headers stand alone in a folder of links below the build folder, and that folder,
# not the source tree, is what the compiler searches.

add_library(hcd_build INTERFACE)
target_compile_options(hcd_build INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
# Position-independent code would otherwise call every public function through a table, and never inline it.
target_compile_options(hcd_build INTERFACE $<$<CXX_COMPILER_ID:GNU>:-fno-semantic-interposition>)
target_compile_definitions(hcd_build INTERFACE _FILE_OFFSET_BITS=64 _TIME_BITS=64)
if(HCD_SANITIZE)
    # The check of virtual tables opens pipes and writes to them, which tests would take for the code's doing.
    target_compile_options(hcd_build INTERFACE -fsanitize=${HCD_SANITIZE} -fno-sanitize=vptr
                                               -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(hcd_build INTERFACE -fsanitize=${HCD_SANITIZE})
endif()

# hcd_room(TARGET ROOM DIRECTORY HEADERS ... [OWN_HEADERS ...]): lets TARGET, and whoever links it, include the headers
# (names below DIRECTORY) as <ROOM/name>. Only HEADERS of a room below elmu/ are installed, for other projects;
# OWN_HEADERS are this project's alone.
function(hcd_room target room directory)
    cmake_parse_arguments(PARSE_ARGV 3 ARG "" "" "HEADERS;OWN_HEADERS")
    set(root "${PROJECT_BINARY_DIR}/rooms/${target}")
    file(REMOVE_RECURSE "${root}")
    file(MAKE_DIRECTORY "${root}/${room}")
    foreach(header IN LISTS ARG_HEADERS ARG_OWN_HEADERS)
        file(CREATE_LINK "${directory}/${header}" "${root}/${room}/${header}" SYMBOLIC)
    endforeach()
    target_include_directories(${target} PUBLIC "$<BUILD_INTERFACE:${root}>"
                                                "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>")
    target_link_libraries(${target} PRIVATE "$<BUILD_INTERFACE:hcd_build>" "$<BUILD_INTERFACE:hcd_hardening>")
    if(HCD_SANITIZE)
        target_compile_options(${target} PRIVATE -O1) # tests with sanitizers spend most of their time here
    endif()
    target_compile_features(${target} PUBLIC cxx_std_20)
    set_property(TARGET ${target} PROPERTY HCD_ROOM "${room}")
    set_property(TARGET ${target} PROPERTY HCD_HEADERS ${ARG_HEADERS} ${ARG_OWN_HEADERS})
    if(PROJECT_IS_TOP_LEVEL AND room MATCHES "^elmu/")
        list(TRANSFORM ARG_HEADERS PREPEND "${directory}/")
        install(FILES ${ARG_HEADERS} DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/${room}" COMPONENT development)
    endif()
endfunction()
