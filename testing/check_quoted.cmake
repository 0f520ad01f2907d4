# Run as a script: fails unless DOCUMENT quotes the whole of SOURCE.

file(READ "${DOCUMENT}" document)
file(READ "${SOURCE}" source)
string(FIND "${document}" "${source}" position)
if(position EQUAL -1)
  message(FATAL_ERROR "${DOCUMENT} does not quote ${SOURCE} as it is")
endif()
