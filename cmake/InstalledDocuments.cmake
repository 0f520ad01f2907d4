# Installs the documents. In the source tree they link to headers, messages and calibrations beside them; the
# installed copies link to where those are installed.

# camera_parameters_relink(<text variable> <folder of the document> <source folder> <installed folder>)
#
# Both installed folders as absolute paths.
function(camera_parameters_relink variable document_dir source_dir installed_dir)
  file(RELATIVE_PATH path "${document_dir}" "${installed_dir}")
  string(REGEX REPLACE "\\]\\((\\.\\./)*${source_dir}/" "](${path}/" text "${${variable}}")
  set(${variable} "${text}" PARENT_SCOPE)
endfunction()

# camera_parameters_install_document(<path from the top of the tree>)
function(camera_parameters_install_document path)
  set(source "${PROJECT_SOURCE_DIR}/${path}")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${source}")
  cmake_path(GET path PARENT_PATH folder)
  cmake_path(SET document_dir NORMALIZE "${CMAKE_INSTALL_FULL_DOCDIR}/${folder}/.")
  file(READ "${source}" text)
  foreach(headers IN ITEMS calibration_common support)
    camera_parameters_relink(text "${document_dir}" ${headers}
      "${CMAKE_INSTALL_FULL_INCLUDEDIR}/camera_parameters/${headers}")
  endforeach()
  foreach(data IN ITEMS proto calibration)
    camera_parameters_relink(text "${document_dir}" ${data}
      "${CMAKE_INSTALL_FULL_DATADIR}/camera_parameters/${data}")
  endforeach()
  file(CONFIGURE OUTPUT "${PROJECT_BINARY_DIR}/documents/${path}" CONTENT "@text@" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/documents/${path}"
    DESTINATION "${CMAKE_INSTALL_DOCDIR}/${folder}"
    COMPONENT development)
endfunction()

file(GLOB documents RELATIVE "${PROJECT_SOURCE_DIR}" CONFIGURE_DEPENDS
  "${PROJECT_SOURCE_DIR}/*.md" "${PROJECT_SOURCE_DIR}/docs/*.md")
foreach(document IN LISTS documents ITEMS benchmarks/README.md fuzz/README.md)
  camera_parameters_install_document("${document}")
endforeach()
install(DIRECTORY "${PROJECT_SOURCE_DIR}/docs/images"
  DESTINATION "${CMAKE_INSTALL_DOCDIR}/docs"
  COMPONENT development)
install(FILES "${PROJECT_SOURCE_DIR}/docs/json/camera-parameters.schema.json"
  DESTINATION "${CMAKE_INSTALL_DOCDIR}/docs/json"
  COMPONENT development)
install(FILES "${PROJECT_SOURCE_DIR}/benchmarks/instructions.txt"
  DESTINATION "${CMAKE_INSTALL_DOCDIR}/benchmarks"
  COMPONENT development)
