# camera_parameters_embed_files(<output.cpp> <file>...)
#
# Writes, at build time, a source file that defines norv::internal::embeddedFiles() with the named
# files, paths relative to the top of the tree. Needs nothing but CMake.
function(camera_parameters_embed_files output)
  set(paths ${ARGN})
  list(TRANSFORM paths PREPEND "${PROJECT_SOURCE_DIR}/")
  add_custom_command(
    OUTPUT "${output}"
    COMMAND "${CMAKE_COMMAND}" "-DOUTPUT=${output}" "-DROOT=${PROJECT_SOURCE_DIR}"
      "-DFILES=${ARGN}" -P "${PROJECT_SOURCE_DIR}/cmake/WriteEmbeddedFiles.cmake"
    DEPENDS ${paths} "${PROJECT_SOURCE_DIR}/cmake/WriteEmbeddedFiles.cmake"
    COMMENT "Embedding ${ARGN}"
    VERBATIM)
endfunction()
