# Run as a script: fails if it sees anything of the caller's settings, or a home folder that is not empty.

foreach(variable IN ITEMS NORV_LOG NORV_CPU LC_ALL LC_NUMERIC LANG LANGUAGE COLUMNS)
  if(DEFINED ENV{${variable}})
    message(SEND_ERROR "${variable} is $ENV{${variable}}")
  endif()
endforeach()
file(GLOB at_home "$ENV{HOME}/*" "$ENV{HOME}/.*")
if(NOT IS_DIRECTORY "$ENV{HOME}" OR at_home)
  message(SEND_ERROR "The home folder $ENV{HOME} is none, or holds ${at_home}")
endif()
