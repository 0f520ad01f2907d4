# Install rules of the Python package, component python, and the wheel of it.

# Debian's own scheme, lib/python3/dist-packages; elsewhere lib/python3.X/site-packages. Debian's default
# scheme is for what pip installs, below local/.
if(NOT DEFINED CAMERA_PARAMETERS_PYTHON_DIR)
  execute_process(COMMAND "${Python_EXECUTABLE}" -I -c [[
import sysconfig
scheme = "deb_system" if "deb_system" in sysconfig.get_scheme_names() else "posix_prefix"
print(sysconfig.get_path("platlib", scheme, vars={"base": "", "platbase": ""}).strip("/"), end="")
]]
    OUTPUT_VARIABLE found_dir COMMAND_ERROR_IS_FATAL ANY)
  set(CAMERA_PARAMETERS_PYTHON_DIR "${found_dir}" CACHE STRING
    "Where the Python package is installed: the folder that holds camera_parameters, below the prefix or absolute")
endif()
set(python_package_dir "${CAMERA_PARAMETERS_PYTHON_DIR}/camera_parameters")

# The module finds the library of its prefix, also after the whole tree was moved; where a folder was given as
# an absolute path, at that path.
set(library_path "${CMAKE_INSTALL_FULL_LIBDIR}")
if(NOT IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}" AND NOT IS_ABSOLUTE "${CAMERA_PARAMETERS_PYTHON_DIR}")
  file(RELATIVE_PATH library_path "/${python_package_dir}" "/${CMAKE_INSTALL_LIBDIR}")
  set(library_path "$ORIGIN/${library_path}")
endif()
set_target_properties(camera_parameters_python PROPERTIES INSTALL_RPATH "${library_path}")
install(TARGETS camera_parameters_python LIBRARY DESTINATION "${python_package_dir}" COMPONENT python)
foreach(name IN LISTS package_files)
  cmake_path(GET name PARENT_PATH folder)
  install(FILES "${CMAKE_CURRENT_SOURCE_DIR}/camera_parameters/${name}"
    DESTINATION "${python_package_dir}/${folder}" COMPONENT python)
endforeach()

file(CONFIGURE OUTPUT "${CMAKE_CURRENT_BINARY_DIR}/METADATA" CONTENT [[
Metadata-Version: 2.1
Name: camera_parameters
Version: @PROJECT_VERSION@
Summary: @PROJECT_DESCRIPTION@
License: Apache-2.0
Requires-Python: >=3.9
Requires-Dist: numpy
Provides-Extra: plot
Requires-Dist: matplotlib; extra == "plot"

Uses the shared library libcamera_parameters as it was installed at @CMAKE_INSTALL_FULL_LIBDIR@.
]] @ONLY)

# camera_parameters_add_wheel(<target> <folder of the installed library> <folder for the wheel>)
#
# The module is linked once more, to carry the library's folder: a wheel can be installed anywhere, and brings
# no copy of the library.
function(camera_parameters_add_wheel target library_dir wheel_dir)
  set(module ${target}_module)
  set(module_dir "${CMAKE_CURRENT_BINARY_DIR}/${module}")
  add_library(${module} MODULE EXCLUDE_FROM_ALL $<TARGET_OBJECTS:camera_parameters_python>)
  get_target_property(libraries camera_parameters_python LINK_LIBRARIES)
  get_target_property(suffix camera_parameters_python SUFFIX)
  target_link_libraries(${module} PRIVATE ${libraries})
  set_target_properties(${module} PROPERTIES
    LINKER_LANGUAGE CXX PREFIX "" OUTPUT_NAME _core SUFFIX "${suffix}"
    LIBRARY_OUTPUT_DIRECTORY "${module_dir}"
    BUILD_WITH_INSTALL_RPATH ON INSTALL_RPATH "${library_dir}")
  get_target_property(python_dir camera_parameters_python SOURCE_DIR)
  get_target_property(python_build_dir camera_parameters_python BINARY_DIR)
  get_property(interpreter GLOBAL PROPERTY camera_parameters_python_executable)
  add_custom_target(${target}
    COMMAND "${interpreter}" -B "${python_dir}/wheel/make_wheel.py" --package "${python_dir}/camera_parameters"
      --module "$<TARGET_FILE:${module}>" --metadata "${python_build_dir}/METADATA"
      --licence "${PROJECT_SOURCE_DIR}/LICENSE" --stage "${module_dir}/stage" --output "${wheel_dir}"
    DEPENDS ${module}
    COMMENT "Packing a wheel into ${wheel_dir}"
    VERBATIM)
  add_dependencies(${target} ${module})
endfunction()

# `wheel` is a name that a parent project may have a use for.
set(wheel_target camera_parameters_wheel)
if(PROJECT_IS_TOP_LEVEL)
  set(wheel_target wheel)
endif()
camera_parameters_add_wheel(${wheel_target} "${CMAKE_INSTALL_FULL_LIBDIR}" "${CMAKE_CURRENT_BINARY_DIR}")
# For the tests of the installed package (tests/consumers/python), which install it there.
if(CAMERA_PARAMETERS_BUILD_TESTING)
  camera_parameters_add_wheel(camera_parameters_test_wheel
    "${PROJECT_BINARY_DIR}/tests/consumers/prefix/${CMAKE_INSTALL_LIBDIR}" "${CMAKE_CURRENT_BINARY_DIR}/test_wheel")
endif()
