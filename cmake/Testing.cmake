# How tests are registered that CTest alone knows, and what every test sees of the caller's environment: the
# log's settings, the language and the width of the terminal are as at a first login, the home folder is empty.

set(camera_parameters_test_home "${PROJECT_BINARY_DIR}/test_home")
file(MAKE_DIRECTORY "${camera_parameters_test_home}")
set(camera_parameters_test_environment
  NORV_LOG=unset: NORV_CPU=unset: LC_ALL=unset: LC_NUMERIC=unset: LANG=unset: LANGUAGE=unset: COLUMNS=unset:)
set(camera_parameters_test_home_setting "HOME=set:${camera_parameters_test_home}")

# camera_parameters_add_command_test(<name> [KEEPS_HOME] COMMAND <word>... [PROPERTIES <name> <value>...])
#
# KEEPS_HOME is for tests that compile: the compiler's cache lies in the caller's home folder.
function(camera_parameters_add_command_test name)
  cmake_parse_arguments(arg "KEEPS_HOME" "" "COMMAND;PROPERTIES" ${ARGN})
  add_test(NAME ${name} COMMAND ${arg_COMMAND})
  set(environment ${camera_parameters_test_environment})
  if(NOT arg_KEEPS_HOME)
    list(APPEND environment "${camera_parameters_test_home_setting}")
  endif()
  set_tests_properties(${name} PROPERTIES ENVIRONMENT_MODIFICATION "${environment}" ${arg_PROPERTIES})
endfunction()

# camera_parameters_shield_discovered_tests(<target>): the same environment for the tests that
# gtest_discover_tests finds in a program. Its own PROPERTIES take no lists.
function(camera_parameters_shield_discovered_tests target)
  set(script "${CMAKE_CURRENT_BINARY_DIR}/${target}_environment.cmake")
  set(environment ${camera_parameters_test_environment} "${camera_parameters_test_home_setting}")
  file(CONFIGURE OUTPUT "${script}" @ONLY CONTENT [[
foreach(test IN LISTS @target@_TESTS)
  set_tests_properties("${test}" PROPERTIES ENVIRONMENT_MODIFICATION "@environment@")
endforeach()
]])
  set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES "${script}")
endfunction()
