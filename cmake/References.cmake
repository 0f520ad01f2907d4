# Independent libraries that tests and benchmarks compare with. Each is optional; where it is found,
# <name>_REFERENCE holds what to link.

function(camera_parameters_find_reference name)
  if(NOT ${name}_REFERENCE AND CAMERA_PARAMETERS_REQUIRE_REFERENCES)
    message(FATAL_ERROR "${name} is not installed, and CAMERA_PARAMETERS_REQUIRE_REFERENCES is on")
  endif()
endfunction()

# Debian has OpenCV's configuration for CMake in libopencv-dev, which brings every module and what those
# need; the headers and libraries of the two modules in question do without.
find_package(OpenCV QUIET COMPONENTS core calib3d)
if(OpenCV_FOUND)
  set(OpenCV_REFERENCE opencv_core opencv_calib3d)
else()
  find_path(OpenCV_HEADERS opencv2/calib3d.hpp PATH_SUFFIXES opencv4)
  find_library(OpenCV_CORE opencv_core)
  find_library(OpenCV_CALIB3D opencv_calib3d)
  if(OpenCV_HEADERS AND OpenCV_CORE AND OpenCV_CALIB3D)
    add_library(opencv_reference INTERFACE)
    target_include_directories(opencv_reference SYSTEM INTERFACE "${OpenCV_HEADERS}")
    target_link_libraries(opencv_reference INTERFACE "${OpenCV_CALIB3D}" "${OpenCV_CORE}")
    set(OpenCV_REFERENCE opencv_reference)
  endif()
endif()
camera_parameters_find_reference(OpenCV)

# Debian has no package file of it for CMake.
find_path(mrcal_HEADERS mrcal/mrcal.h)
find_library(mrcal_LIBRARY mrcal)
if(mrcal_HEADERS AND mrcal_LIBRARY)
  set(mrcal_REFERENCE "${mrcal_LIBRARY}")
endif()
camera_parameters_find_reference(mrcal)
