# Run as a script: fails unless the Python script SCRIPT prints exactly what FILE holds.

execute_process(COMMAND "${PYTHON}" "${SCRIPT}" OUTPUT_VARIABLE printed COMMAND_ERROR_IS_FATAL ANY)
file(READ "${FILE}" stored)
if(NOT printed STREQUAL stored)
  message(FATAL_ERROR "${FILE} is not what ${SCRIPT} prints")
endif()
