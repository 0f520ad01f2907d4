# Run as a script: builds the library of SOURCE on its own in the fresh folder BINARY with ARGUMENTS (separated
# by |), as its users do: without a build type; first shared, with every install folder an absolute path, then
# static, in components. Each is installed, and the consumer in CONSUMER is built with CMake and with
# PKG_CONFIG and run.

include("${CMAKE_CURRENT_LIST_DIR}/expect_component.cmake")
string(REPLACE "|" ";" ARGUMENTS "${ARGUMENTS}")
file(REMOVE_RECURSE "${BINARY}")
unset(ENV{CMAKE_BUILD_TYPE})

# build_library(<CMake argument>...): leaves what the configuration said in `said`.
function(build_library)
  execute_process(
    COMMAND "${CMAKE_COMMAND}" -S "${SOURCE}" -B "${BINARY}/library" -G Ninja ${ARGUMENTS}
      -DCAMERA_PARAMETERS_BUILD_TESTING=OFF ${ARGN}
    OUTPUT_VARIABLE said ECHO_OUTPUT_VARIABLE COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND "${CMAKE_COMMAND}" --build "${BINARY}/library" COMMAND_ERROR_IS_FATAL ANY)
  set(said "${said}" PARENT_SCOPE)
endfunction()

# install_library(<argument of cmake --install>...)
function(install_library)
  execute_process(COMMAND "${CMAKE_COMMAND}" --install "${BINARY}/library" ${ARGN}
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# run_consumers(<name> <CMake package folder> <pkg-config folder> <flag of pkg-config>...)
function(run_consumers name package_dir pc_dir)
  execute_process(
    COMMAND "${CMAKE_COMMAND}" -S "${CONSUMER}/find_package" -B "${BINARY}/${name}" -G Ninja ${ARGUMENTS}
      -DCMAKE_BUILD_TYPE=Release "-Dcamera_parameters_DIR=${package_dir}"
    COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND "${CMAKE_COMMAND}" --build "${BINARY}/${name}" COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND "${BINARY}/${name}/consumer" COMMAND_ERROR_IS_FATAL ANY)

  set(ENV{PKG_CONFIG_PATH} "${pc_dir}")
  execute_process(COMMAND "${PKG_CONFIG}" --cflags --libs ${ARGN} camera_parameters
    OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  separate_arguments(flags UNIX_COMMAND "${flags}")
  execute_process(
    COMMAND "${COMPILER}" -std=c++17 "${CONSUMER}/consumer.cpp" -o "${BINARY}/${name}/by_pkg_config" ${flags}
    COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND "${CMAKE_COMMAND}" -E env "LD_LIBRARY_PATH=${pc_dir}/.."
    "${BINARY}/${name}/by_pkg_config" COMMAND_ERROR_IS_FATAL ANY)
endfunction()

set(documents "share/doc/camera_parameters/.*")
set(package "lib/cmake/camera_parameters/.*\\.cmake" "lib/pkgconfig/camera_parameters\\.pc")
set(definitions "include/camera_parameters/.*\\.h" "share/camera_parameters/proto/.*\\.proto")
set(tool "bin/camera-parameters" "share/man/man1/camera-parameters\\.1" "share/camera_parameters/calibration/.*\\.txt"
  "share/bash-completion/completions/camera-parameters" "share/zsh/site-functions/_camera-parameters")

# Shared, every folder absolute, and none below the source tree, where CMake lets no headers be installed.
string(RANDOM LENGTH 12 unique)
set(elsewhere "$ENV{TMPDIR}")
if(elsewhere STREQUAL "")
  set(elsewhere "/tmp")
endif()
string(APPEND elsewhere "/camera_parameters_${unique}")
build_library("-DCMAKE_INSTALL_PREFIX=${BINARY}/prefix"
  "-DCMAKE_INSTALL_LIBDIR=${elsewhere}/libraries"
  "-DCMAKE_INSTALL_INCLUDEDIR=${elsewhere}/headers"
  "-DCMAKE_INSTALL_BINDIR=${elsewhere}/programs")
if(NOT said MATCHES "building Release")
  message(FATAL_ERROR "A configuration without a build type does not say that it is Release")
endif()
install_library()
execute_process(COMMAND "${elsewhere}/programs/camera-parameters" show OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
run_consumers(absolute "${elsewhere}/libraries/cmake/camera_parameters" "${elsewhere}/libraries/pkgconfig")
if(EXISTS "${BINARY}/prefix/lib" OR EXISTS "${BINARY}/prefix/bin" OR EXISTS "${BINARY}/prefix/include")
  message(SEND_ERROR "The prefix was used beside the absolute folders")
endif()
file(REMOVE_RECURSE "${elsewhere}")

# Shared, in components.
set(relative -DCMAKE_INSTALL_LIBDIR=lib -DCMAKE_INSTALL_INCLUDEDIR=include -DCMAKE_INSTALL_BINDIR=bin)
build_library(${relative})
expect_component("${BINARY}/library" "${BINARY}/component_runtime" runtime "lib/libcamera_parameters\\.so\\.[0-9.]*" "share/doc/camera_parameters/LICENSE")
expect_component("${BINARY}/library" "${BINARY}/component_development" development "lib/libcamera_parameters\\.so" ${package} ${definitions} "${documents}")
expect_component("${BINARY}/library" "${BINARY}/component_tool" tool ${tool})

# Static.
build_library(${relative} -DBUILD_SHARED_LIBS=OFF)
expect_component("${BINARY}/library" "${BINARY}/component_runtime" runtime "share/doc/camera_parameters/LICENSE")
expect_component("${BINARY}/library" "${BINARY}/component_development" development "lib/libcamera_parameters\\.a" ${package} ${definitions} "${documents}")
set(static_prefix "${BINARY}/component_development")
run_consumers(static "${static_prefix}/lib/cmake/camera_parameters" "${static_prefix}/lib/pkgconfig" --static)

# One archive of everything.
execute_process(COMMAND "${CPACK}" --config "${BINARY}/library/CPackConfig.cmake" -B "${BINARY}/archive"
  OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
file(GLOB archives "${BINARY}/archive/*.tar.gz")
list(LENGTH archives count)
if(NOT count EQUAL 1)
  message(SEND_ERROR "cpack wrote ${count} archives")
endif()
