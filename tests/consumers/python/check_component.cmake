# Run as a script: the component python of BUILD is the module, and the files of SOURCE as files, not as links
# to them.

include("${CMAKE_CURRENT_LIST_DIR}/../expect_component.cmake")
set(package "${PYTHON_DIR}/camera_parameters")
file(GLOB_RECURSE sources RELATIVE "${SOURCE}" "${SOURCE}/*")
list(FILTER sources EXCLUDE REGEX "__pycache__")
set(expected)
foreach(source IN LISTS sources)
  string(REPLACE "." "\\." source "${source}")
  list(APPEND expected "${package}/${source}")
endforeach()
expect_component("${BUILD}" "${BINARY}" python "${package}/_core\\.cpython[^/]*\\.so" ${expected})
file(GLOB_RECURSE files "${BINARY}/*")
foreach(file IN LISTS files)
  if(IS_SYMLINK "${file}")
    message(SEND_ERROR "${file} is a link")
  endif()
endforeach()
