# Run as a script: dependencies between the folders of ROOT go one way, and the tests speak of nothing
# that is switched off.

# check_no(<pattern> <glob>...)
function(check_no pattern)
  list(TRANSFORM ARGN PREPEND "${ROOT}/")
  file(GLOB_RECURSE files ${ARGN})
  if(NOT files)
    message(SEND_ERROR "no files to look at: ${ARGN}")
  endif()
  foreach(file IN LISTS files)
    file(STRINGS "${file}" lines REGEX "${pattern}")
    if(lines)
      message(SEND_ERROR "${file}: ${lines}")
    endif()
  endforeach()
endfunction()

check_no("include.*(calibration_common|tools|tests|testing|benchmarks)/" support/*.h support/*.cpp)
check_no("import.*(calibration_common|support)/" proto/*.proto)
check_no("include.*(tools|tests|testing|benchmarks)/" calibration_common/*.h calibration_common/*.cpp)
check_no("include.*(tests|testing|benchmarks)/" tools/*.h tools/*.cpp examples/*.cpp)
