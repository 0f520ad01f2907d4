# Run as a script: a configuration of SOURCE with the package and a static library says why that cannot be.

file(REMOVE_RECURSE "${BINARY}")
execute_process(
  COMMAND "${CMAKE_COMMAND}" -S "${SOURCE}" -B "${BINARY}" -G Ninja "-DCMAKE_CXX_COMPILER=${COMPILER}"
    "-DPython_EXECUTABLE=${PYTHON}" -DCAMERA_PARAMETERS_BUILD_TESTING=OFF -DCAMERA_PARAMETERS_TOOLS=OFF
    -DCAMERA_PARAMETERS_PYTHON=ON -DBUILD_SHARED_LIBS=OFF
  OUTPUT_QUIET ERROR_VARIABLE said RESULT_VARIABLE failed)
if(NOT failed OR NOT said MATCHES "CAMERA_PARAMETERS_PYTHON needs the shared library")
  message(FATAL_ERROR "With a static library, CMake ended with ${failed} and said: ${said}")
endif()
