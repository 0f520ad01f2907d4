# expect_component(<build folder> <prefix> <name> <expression>...): what is installed of the component, into the
# fresh prefix, are files that match, and one for each of the expressions.
function(expect_component build prefix name)
  file(REMOVE_RECURSE "${prefix}")
  execute_process(COMMAND "${CMAKE_COMMAND}" --install "${build}" --prefix "${prefix}" --component "${name}"
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
  file(GLOB_RECURSE files RELATIVE "${prefix}" "${prefix}/*")
  foreach(expression IN LISTS ARGN)
    list(LENGTH files before)
    list(FILTER files EXCLUDE REGEX "^${expression}$")
    list(LENGTH files after)
    if(before EQUAL after)
      message(SEND_ERROR "Component ${name} lacks ${expression}")
    endif()
  endforeach()
  if(files)
    message(SEND_ERROR "Component ${name} has these too: ${files}")
  endif()
endfunction()
