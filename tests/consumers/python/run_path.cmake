# Run as a script: installs what it takes to run the package of BUILD, and imports it by PYTHONPATH alone, where
# it was installed, after the whole tree was moved, and staged for a packager.

file(REMOVE_RECURSE "${BINARY}")
file(MAKE_DIRECTORY "${BINARY}")

# install_package(<prefix>)
function(install_package prefix)
  foreach(component IN ITEMS runtime python)
    execute_process(COMMAND "${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${prefix}" --component "${component}"
      OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
  endforeach()
endfunction()

# check(<prefix>)
function(check prefix)
  execute_process(
    COMMAND "${CMAKE_COMMAND}" -E env --unset=LD_LIBRARY_PATH "PYTHONPATH=${prefix}/${PYTHON_DIR}"
      "${PYTHON}" -B "${CHECK}" "${prefix}/${PYTHON_DIR}" "${prefix}/${LIBDIR}"
    WORKING_DIRECTORY / COMMAND_ERROR_IS_FATAL ANY)
endfunction()

install_package("${BINARY}/here")
check("${BINARY}/here")
file(MAKE_DIRECTORY "${BINARY}/far")
file(RENAME "${BINARY}/here" "${BINARY}/far/away")
check("${BINARY}/far/away")
set(ENV{DESTDIR} "${BINARY}/staged")
install_package(/opt/robot)
unset(ENV{DESTDIR})
check("${BINARY}/staged/opt/robot")
