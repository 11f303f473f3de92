# The tests that foundation-exceptions.tsv names pass when they fail: a row that is no longer needed is a failure. Rows for
# other versions of GNUstep Base are left out.

file(STRINGS foundation-exceptions.tsv rows REGEX "^test\t")
set(properties)
foreach(row IN LISTS rows)
    string(REPLACE "\t" ";" columns "${row}")
    list(GET columns 1 name)
    list(POP_BACK columns versions)
    if(versions MATCHES "^[0-9. ]+$" AND NOT " ${versions} " MATCHES " ${GNUSTEP_BASE_VERSION} ")
        continue()
    endif()
    string(APPEND properties "set_tests_properties([[${name}]] PROPERTIES WILL_FAIL TRUE)\n")
endforeach()
# Debian 13's GNUstep runs dpkg-architecture unless the environment names the machine's kind. Where a test refuses system
# calls or removes rights, that program fails, and then GNUstep ends the process or waits without end.
string(APPEND properties "set(ENV{DEB_HOST_MULTIARCH} ${CMAKE_LIBRARY_ARCHITECTURE})\n")
file(CONFIGURE OUTPUT "${CMAKE_CURRENT_BINARY_DIR}/exceptions-of-ctest.cmake" CONTENT "${properties}" @ONLY)
set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES "${CMAKE_CURRENT_BINARY_DIR}/exceptions-of-ctest.cmake")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS foundation-exceptions.tsv)
