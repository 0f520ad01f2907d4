# Run as a script: every header installed in PREFIX compiles on its own; those that we wrote refer to the
# conventions and do not pull in <iostream>, whose static initialisers every including file would pay for.

set(root "${PREFIX}/include/camera_parameters")
file(GLOB_RECURSE headers RELATIVE "${root}" "${root}/*.h")
list(LENGTH headers count)
if(count LESS 10)
  message(FATAL_ERROR "Only ${count} headers are installed")
endif()
foreach(header IN LISTS headers)
  file(WRITE "${BINARY}.cpp" "#include <${header}>\n#include <${header}>\n")
  execute_process(
    COMMAND "${COMPILER}" -std=c++17 -Wall -Wextra -Werror -fsyntax-only "-I${root}" -isystem "${EIGEN}"
      "${BINARY}.cpp"
    RESULT_VARIABLE failed)
  if(failed)
    message(FATAL_ERROR "${header} does not compile on its own")
  endif()
  file(READ "${root}/${header}" text)
  if(NOT header MATCHES "(\\.pb|/export)\\.h$" AND NOT text MATCHES "docs/conventions\\.md")
    message(FATAL_ERROR "${header} does not refer to docs/conventions.md")
  endif()
  if(text MATCHES "#include <iostream>")
    message(FATAL_ERROR "${header} includes <iostream>")
  endif()
endforeach()
