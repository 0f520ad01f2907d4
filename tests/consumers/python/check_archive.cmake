# Run as a script: the archive that CPACK makes of BUILD holds the package beside the library.

file(REMOVE_RECURSE "${BINARY}")
execute_process(COMMAND "${CPACK}" --config "${BUILD}/CPackConfig.cmake" -B "${BINARY}"
  OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
file(GLOB archive "${BINARY}/*.tar.gz")
file(ARCHIVE_EXTRACT INPUT "${archive}" DESTINATION "${BINARY}/unpacked")
file(GLOB prefix "${BINARY}/unpacked/*")
execute_process(
  COMMAND "${CMAKE_COMMAND}" -E env --unset=LD_LIBRARY_PATH "PYTHONPATH=${prefix}/${PYTHON_DIR}"
    "${PYTHON}" -B "${CHECK}" "${prefix}/${PYTHON_DIR}" "${prefix}/${LIBDIR}"
  WORKING_DIRECTORY / COMMAND_ERROR_IS_FATAL ANY)
