# Install rules. Components: runtime, what programs need to run; development, what it takes to build them;
# tool, the command-line tool with calibrations to try it on. The headers lie below
# include/camera_parameters (support/ and proto/ are too common names for the system's include folder).

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(include_dir "${CMAKE_INSTALL_INCLUDEDIR}/camera_parameters")
set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/camera_parameters")
set(data_dir "${CMAKE_INSTALL_DATADIR}/camera_parameters")

install(TARGETS camera_parameters
  EXPORT camera_parameters_targets
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT development
  INCLUDES DESTINATION "${include_dir}" "${CMAKE_INSTALL_INCLUDEDIR}")
foreach(header IN LISTS public_headers)
  cmake_path(GET header PARENT_PATH folder)
  install(FILES "${PROJECT_SOURCE_DIR}/${header}" DESTINATION "${include_dir}/${folder}" COMPONENT development)
endforeach()
install(FILES ${generated_headers} DESTINATION "${include_dir}/proto" COMPONENT development)
install(EXPORT camera_parameters_targets
  NAMESPACE norv::
  DESTINATION "${package_dir}"
  COMPONENT development)

configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/camera_parameters-config.cmake.in"
  "${PROJECT_BINARY_DIR}/camera_parameters-config.cmake"
  INSTALL_DESTINATION "${package_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/camera_parameters-config-version.cmake"
  COMPATIBILITY SameMinorVersion)
install(FILES
  "${PROJECT_BINARY_DIR}/camera_parameters-config.cmake"
  "${PROJECT_BINARY_DIR}/camera_parameters-config-version.cmake"
  DESTINATION "${package_dir}"
  COMPONENT development)

# The pkg-config file names its folders relative to itself, so that the installed tree can be moved, unless
# the folders were given as absolute paths.
set(pc_prefix "${CMAKE_INSTALL_PREFIX}")
if(NOT IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  file(RELATIVE_PATH pc_prefix "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
  set(pc_prefix "\${pcfiledir}/${pc_prefix}")
endif()
foreach(kind IN ITEMS LIBDIR INCLUDEDIR)
  set(pc_${kind} "${CMAKE_INSTALL_${kind}}")
  if(NOT IS_ABSOLUTE "${pc_${kind}}")
    set(pc_${kind} "\${prefix}/${pc_${kind}}")
  endif()
endforeach()
configure_file("${PROJECT_SOURCE_DIR}/cmake/camera_parameters.pc.in"
  "${PROJECT_BINARY_DIR}/camera_parameters.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/camera_parameters.pc"
  DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig"
  COMPONENT development)

list(TRANSFORM proto_files PREPEND "${PROJECT_SOURCE_DIR}/" OUTPUT_VARIABLE proto_paths)
install(FILES ${proto_paths} DESTINATION "${data_dir}/proto" COMPONENT development)
install(DIRECTORY "${PROJECT_SOURCE_DIR}/calibration/"
  DESTINATION "${data_dir}/calibration"
  COMPONENT tool
  FILES_MATCHING PATTERN "*.txt")
if(CAMERA_PARAMETERS_TOOLS)
  install(FILES "${PROJECT_SOURCE_DIR}/docs/man/camera-parameters.1"
    DESTINATION "${CMAKE_INSTALL_MANDIR}/man1"
    COMPONENT tool)
  install(FILES "${PROJECT_SOURCE_DIR}/tools/completions/camera-parameters.bash"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions"
    RENAME camera-parameters
    COMPONENT tool)
  install(FILES "${PROJECT_SOURCE_DIR}/tools/completions/_camera-parameters"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/site-functions"
    COMPONENT tool)
endif()
install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT runtime)

include("${PROJECT_SOURCE_DIR}/cmake/InstalledDocuments.cmake")

if(PROJECT_IS_TOP_LEVEL)
  # `cpack` packs what would be installed into one archive.
  set(CPACK_GENERATOR TGZ)
  set(CPACK_VERBATIM_VARIABLES ON)
  set(CPACK_RESOURCE_FILE_LICENSE "${PROJECT_SOURCE_DIR}/LICENSE")
  include(CPack)
endif()
