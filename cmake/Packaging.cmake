# Install rules: library, headers below include/camera_parameters (support/ and proto/ are too common
# names for the system's include folder), CMake package, pkg-config file, message definitions.

include(CMakePackageConfigHelpers)

set(include_dir "${CMAKE_INSTALL_INCLUDEDIR}/camera_parameters")
set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/camera_parameters")

install(TARGETS camera_parameters
  EXPORT camera_parameters_targets
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
  FILE_SET headers DESTINATION "${include_dir}"
  FILE_SET generated_headers DESTINATION "${include_dir}")
install(EXPORT camera_parameters_targets
  NAMESPACE norv::
  DESTINATION "${package_dir}")

configure_package_config_file(cmake/camera_parameters-config.cmake.in
  "${PROJECT_BINARY_DIR}/camera_parameters-config.cmake"
  INSTALL_DESTINATION "${package_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/camera_parameters-config-version.cmake"
  COMPATIBILITY SameMinorVersion)
install(FILES
  "${PROJECT_BINARY_DIR}/camera_parameters-config.cmake"
  "${PROJECT_BINARY_DIR}/camera_parameters-config-version.cmake"
  DESTINATION "${package_dir}")

# Relative to the file itself, so that the installed tree can be moved.
file(RELATIVE_PATH pkgconfig_to_prefix
  "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
configure_file(cmake/camera_parameters.pc.in "${PROJECT_BINARY_DIR}/camera_parameters.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/camera_parameters.pc"
  DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

install(FILES ${proto_files} DESTINATION "${CMAKE_INSTALL_DATADIR}/camera_parameters/proto")
install(FILES docs/conventions.md docs/models_and_sizes.md docs/pan_tilt_heads.md docs/single_image_fit.md
  docs/versions_and_files.md
  DESTINATION "${CMAKE_INSTALL_DOCDIR}/docs")
install(FILES README.md CHANGELOG.md LICENSE DESTINATION "${CMAKE_INSTALL_DOCDIR}")
