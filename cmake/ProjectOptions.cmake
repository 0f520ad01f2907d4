# Compile options of our own code. Nothing here reaches those who link the library.

add_library(camera_parameters_options INTERFACE)
target_compile_features(camera_parameters_options INTERFACE cxx_std_17)
target_include_directories(camera_parameters_options INTERFACE
  "${PROJECT_SOURCE_DIR}" "${PROJECT_BINARY_DIR}/generated")
file(RELATIVE_PATH source_from_build "${PROJECT_BINARY_DIR}" "${PROJECT_SOURCE_DIR}")
target_compile_options(camera_parameters_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wdouble-promotion
  -Wnon-virtual-dtor -Wold-style-cast -Woverloaded-virtual -Wnull-dereference
  # Clang objects to GoogleTest's typed suites, and to floats and repeated operands where tests mean them.
  $<$<CXX_COMPILER_ID:Clang>:-Wno-gnu-zero-variadic-macro-arguments>
  $<$<CXX_COMPILER_ID:Clang>:-Wno-double-promotion>
  $<$<CXX_COMPILER_ID:Clang>:-Wno-self-assign-overloaded>
  # Log statements and test names carry paths from the top of the tree, wherever it is built; ccache
  # may make them relative first.
  "-ffile-prefix-map=${PROJECT_SOURCE_DIR}/="
  "-ffile-prefix-map=${source_from_build}="
  # Contracting a * b + c would make results depend on the instruction set.
  -ffp-contract=off)
# Before those of a parent project, which may have a support/ folder too.
include_directories(BEFORE "${PROJECT_BINARY_DIR}/generated")
include_directories(BEFORE "${PROJECT_SOURCE_DIR}")

if(CAMERA_PARAMETERS_WERROR)
  target_compile_options(camera_parameters_options INTERFACE -Werror)
endif()

if(CAMERA_PARAMETERS_SANITIZERS)
  add_compile_options("-fsanitize=${CAMERA_PARAMETERS_SANITIZERS}" -fno-omit-frame-pointer
    -fno-sanitize-recover=all)
  add_link_options("-fsanitize=${CAMERA_PARAMETERS_SANITIZERS}")
endif()

if(CAMERA_PARAMETERS_FUZZERS)
  # The library too: a fuzzer goes on from inputs that reach new code there.
  add_compile_options(-fsanitize=fuzzer-no-link)
  add_link_options(-fsanitize=fuzzer-no-link)
endif()

if(CAMERA_PARAMETERS_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  find_program(CAMERA_PARAMETERS_CCACHE_PROGRAM ccache)
  mark_as_advanced(CAMERA_PARAMETERS_CCACHE_PROGRAM)
  if(CAMERA_PARAMETERS_CCACHE_PROGRAM)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${CAMERA_PARAMETERS_CCACHE_PROGRAM}")
  endif()
endif()
