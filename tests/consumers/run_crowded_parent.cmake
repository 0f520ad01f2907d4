# Run as a script: configures the project SOURCE in the fresh folder BINARY with ARGUMENTS (separated by |),
# builds and runs it. Nothing of the library shows up among its tests or in what it installs, unless asked for.
# With PYTHON it is configured once more, with the Python package.

string(REPLACE "|" ";" ARGUMENTS "${ARGUMENTS}")
file(REMOVE_RECURSE "${BINARY}")
unset(ENV{CMAKE_BUILD_TYPE})

execute_process(COMMAND "${CMAKE_COMMAND}" -S "${SOURCE}" -B "${BINARY}" -G Ninja ${ARGUMENTS}
  OUTPUT_VARIABLE said ECHO_OUTPUT_VARIABLE COMMAND_ERROR_IS_FATAL ANY)
if(NOT said MATCHES "camera_parameters is built without optimisation")
  message(FATAL_ERROR "Without a build type, the configuration does not say what that means")
endif()
execute_process(COMMAND "${CMAKE_COMMAND}" --build "${BINARY}" COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND "${BINARY}/consumer" COMMAND_ERROR_IS_FATAL ANY)

execute_process(COMMAND "${CTEST}" --test-dir "${BINARY}" -N
  OUTPUT_VARIABLE listed COMMAND_ERROR_IS_FATAL ANY)
if(NOT listed MATCHES "the_parents_own" OR NOT listed MATCHES "Total Tests: 1\n")
  message(FATAL_ERROR "The parent has one test, not these: ${listed}")
endif()

# expect_installed(<prefix> <expression that the sorted list of files matches as a whole>)
function(expect_installed prefix expression)
  execute_process(COMMAND "${CMAKE_COMMAND}" --install "${BINARY}" --prefix "${prefix}"
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
  file(GLOB_RECURSE files RELATIVE "${prefix}" "${prefix}/*")
  if(NOT files MATCHES "^${expression}$")
    message(FATAL_ERROR "Installed with the parent: ${files}")
  endif()
endfunction()

expect_installed("${BINARY}/prefix" "bin/consumer")
execute_process(COMMAND "${CMAKE_COMMAND}" -DCAMERA_PARAMETERS_INSTALL=ON "${BINARY}"
  OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND "${CMAKE_COMMAND}" --build "${BINARY}" COMMAND_ERROR_IS_FATAL ANY)
expect_installed("${BINARY}/prefix_with_library"
  "bin/consumer;include/camera_parameters/.*;lib[^;]*/libcamera_parameters\\.so;.*")

if(PYTHON)
  execute_process(COMMAND "${CMAKE_COMMAND}" -DCAMERA_PARAMETERS_PYTHON=ON "-DPython_EXECUTABLE=${PYTHON}" "${BINARY}"
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endif()
