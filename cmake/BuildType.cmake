# What a configuration without a build type builds: an optimised library. Inside another project that is the
# other project's choice.

get_property(several_configurations GLOBAL PROPERTY GENERATOR_IS_MULTI_CONFIG)
if(NOT CMAKE_BUILD_TYPE AND NOT several_configurations)
  if(PROJECT_IS_TOP_LEVEL)
    message(STATUS "No build type was given (CMAKE_BUILD_TYPE): building Release")
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Release, Debug, RelWithDebInfo or MinSizeRel" FORCE)
  else()
    message(STATUS "No build type was given (CMAKE_BUILD_TYPE): camera_parameters is built without optimisation")
  endif()
endif()
