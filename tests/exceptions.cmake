# The tests that foundation-exceptions.tsv names pass when they fail: a row that is no longer needed is a failure.

file(STRINGS foundation-exceptions.tsv rows REGEX "^test\t")
set(properties)
foreach(row IN LISTS rows)
    string(REPLACE "\t" ";" columns "${row}")
    list(GET columns 1 name)
    string(APPEND properties "set_tests_properties([[${name}]] PROPERTIES WILL_FAIL TRUE)\n")
endforeach()
file(CONFIGURE OUTPUT "${CMAKE_CURRENT_BINARY_DIR}/exceptions-of-ctest.cmake" CONTENT "${properties}" @ONLY)
set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES "${CMAKE_CURRENT_BINARY_DIR}/exceptions-of-ctest.cmake")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS foundation-exceptions.tsv)
