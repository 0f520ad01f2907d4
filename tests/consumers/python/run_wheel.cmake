# Run as a script: installs the one wheel in WHEELS without a network, into a virtual environment and into the
# folder BINARY/packages, and imports it beside the library that is installed in PREFIX.

file(GLOB wheel "${WHEELS}/*.whl")
list(LENGTH wheel count)
if(NOT count EQUAL 1)
  message(FATAL_ERROR "Not one wheel: ${wheel}")
endif()
file(REMOVE_RECURSE "${BINARY}/venv" "${BINARY}/packages")
execute_process(COMMAND "${PYTHON}" -m venv --system-site-packages "${BINARY}/venv" COMMAND_ERROR_IS_FATAL ANY)
set(pip -m pip --disable-pip-version-check --quiet install --no-index)
execute_process(COMMAND "${BINARY}/venv/bin/python" ${pip} "${wheel}" COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND "${BINARY}/venv/bin/python" ${pip} --no-deps --target "${BINARY}/packages" "${wheel}"
  COMMAND_ERROR_IS_FATAL ANY)

foreach(before IN ITEMS "" --loaded-before)
  execute_process(
    COMMAND "${CMAKE_COMMAND}" -E env --unset=LD_LIBRARY_PATH --unset=PYTHONPATH
      "${BINARY}/venv/bin/python" "${CHECK}" "${BINARY}/venv" "${PREFIX}/${LIBDIR}" ${before}
    WORKING_DIRECTORY / COMMAND_ERROR_IS_FATAL ANY)
endforeach()
execute_process(COMMAND "${BINARY}/venv/bin/python" -m pip check --disable-pip-version-check
  OUTPUT_VARIABLE said RESULT_VARIABLE failed)
if(said MATCHES "camera-parameters")
  message(SEND_ERROR "${said}")
endif()
