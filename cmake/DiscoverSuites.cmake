# Runs behind the linking of a GoogleTest program: writes a file that makes each of its suites a CTest test.
# A process for each suite and not for each case: under AddressSanitizer its start takes longer than most cases.
#
#   cmake -D PROGRAM=FILE -D OUTPUT=FILE -P DiscoverSuites.cmake

execute_process(COMMAND ${PROGRAM} --gtest_list_tests
  OUTPUT_VARIABLE listing COMMAND_ERROR_IS_FATAL ANY)

# A suite stands at the beginning of its line and ends in a dot; its cases are indented.
string(REGEX MATCHALL "(^|\n)[A-Za-z0-9_/]+\\." lines "${listing}")
set(tests "")
foreach(line IN LISTS lines)
  string(REGEX REPLACE "[\n.]" "" suite "${line}")
  string(APPEND tests
    "add_test([[${suite}]] [[${PROGRAM}]] --gtest_filter=${suite}.*)\n"
    "set_tests_properties([[${suite}]] PROPERTIES TIMEOUT 300)\n")
endforeach()
if(NOT tests)
  message(FATAL_ERROR "${PROGRAM} has no tests")
endif()
file(WRITE ${OUTPUT} "${tests}")
