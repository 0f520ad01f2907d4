# Run as a script: PROGRAM ends with what PAGE says of a second copy of the messages, before its main
# prints anything.

set(text "File already exists in database: proto/norv_camera_extrinsics.proto")
file(READ "${PAGE}" page)
string(REGEX REPLACE "[ \n]+" " " page "${page}")
string(FIND "${page}" "${text}" position)
if(position EQUAL -1)
  message(SEND_ERROR "${PAGE} does not say: ${text}")
endif()

execute_process(COMMAND "${PROGRAM}"
  RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE errors)
string(FIND "${errors}" "${text}" position)
if(result EQUAL 0 OR NOT output STREQUAL "" OR position EQUAL -1)
  message(SEND_ERROR "${PROGRAM}: ${result}: ${output}${errors}")
endif()
