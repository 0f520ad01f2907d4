# Independent libraries that tests and benchmarks compare with. Each is optional; where it is found,
# <name>_REFERENCE holds what to link.

function(camera_parameters_find_reference name)
  if(NOT ${name}_REFERENCE AND CAMERA_PARAMETERS_REQUIRE_REFERENCES)
    message(FATAL_ERROR "${name} is not installed, and CAMERA_PARAMETERS_REQUIRE_REFERENCES is on")
  endif()
endfunction()

include("${PROJECT_SOURCE_DIR}/cmake/OpenCV.cmake")
camera_parameters_find_opencv(opencv_reference core imgproc calib3d)
if(TARGET opencv_reference)
  set(OpenCV_REFERENCE opencv_reference)
endif()
camera_parameters_find_reference(OpenCV)

# Debian has no package file of it for CMake.
find_path(mrcal_HEADERS mrcal/mrcal.h)
find_library(mrcal_LIBRARY mrcal)
if(mrcal_HEADERS AND mrcal_LIBRARY)
  set(mrcal_REFERENCE "${mrcal_LIBRARY}")
endif()
camera_parameters_find_reference(mrcal)
