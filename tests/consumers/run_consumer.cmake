# Run as a script: configures the consumer project SOURCE in the fresh folder BINARY with ARGUMENTS
# (separated by |), builds it and runs it.

string(REPLACE "|" ";" ARGUMENTS "${ARGUMENTS}")
file(REMOVE_RECURSE "${BINARY}")
execute_process(
  COMMAND "${CMAKE_COMMAND}" -S "${SOURCE}" -B "${BINARY}" -G Ninja ${ARGUMENTS}
  COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND "${CMAKE_COMMAND}" --build "${BINARY}" COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND "${BINARY}/consumer" COMMAND_ERROR_IS_FATAL ANY)
