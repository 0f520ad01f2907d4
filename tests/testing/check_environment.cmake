# Run as a script: tests of the build folder BUILD pass although the caller's environment would upset them. They
# are run from FOLDER, so that the logs of the run that this is a part of are left alone.

file(WRITE "${FOLDER}/CTestTestfile.cmake" "subdirs(\"${BUILD}\")\n")
execute_process(
  COMMAND "${CMAKE_COMMAND}" -E env NORV_LOG=info,bad_check=debug NORV_CPU=nonsense LC_ALL=de_DE.UTF-8 LANG=de_DE.UTF-8
    COLUMNS=20 HOME=/nonexistent
    "${CTEST}" --test-dir "${FOLDER}" --no-tests=error --output-on-failure
    -R "^(logging_test\\.LoggingTest\\.WarningsAndWorseReachStandardErrorByDefault|testing\\.sees_no_caller)$"
  OUTPUT_VARIABLE said ECHO_OUTPUT_VARIABLE COMMAND_ERROR_IS_FATAL ANY)
if(NOT said MATCHES "tests passed, 0 tests failed out of 2\n")
  message(FATAL_ERROR "Not two tests ran")
endif()
