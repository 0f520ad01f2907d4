# The library: generated messages, our own code, the compiled-in files; linked into the library that users
# link and, from the same objects, into a static twin for the tests that look inside.

set(proto_files
  proto/norv_base_calibration.proto
  proto/norv_camera_calibration.proto
  proto/norv_camera_extrinsics.proto
  proto/norv_pan_tilt_system.proto
  proto/norv_ptz_camera.proto
  proto/norv_robot_calibration.proto)

set(library_sources
  calibration_common/adjusted_calibration.cpp
  calibration_common/base_adjustment.cpp
  calibration_common/base_calibration_data.cpp
  calibration_common/base_loading.cpp
  calibration_common/calibration_review.cpp
  calibration_common/calibration_saving.cpp
  calibration_common/camera_image_sizes.cpp
  calibration_common/camera_load_problem.cpp
  calibration_common/camera_models.cpp
  calibration_common/camera_parameters.cpp
  calibration_common/camera_parameters_view.cpp
  calibration_common/camera_problems.cpp
  calibration_common/camera_set_loading.cpp
  calibration_common/camera_view.cpp
  calibration_common/head_geometry.cpp
  calibration_common/intrinsics_model.cpp
  calibration_common/load_rollback.cpp
  calibration_common/message_copy.cpp
  calibration_common/pan_tilt_model.cpp
  calibration_common/pan_tilt_solver.cpp
  calibration_common/pointing_residual.cpp
  calibration_common/processed_views.cpp
  calibration_common/ptz_camera_model.cpp
  calibration_common/ptz_coverage.cpp
  calibration_common/ptz_loading.cpp
  calibration_common/ptz_view.cpp
  calibration_common/stored_pose.cpp
  calibration_common/view_record.cpp
  calibration_common/view_straightening.cpp
  calibration_common/zoom_lens.cpp
  calibration_common/aiming/aim_search.cpp
  calibration_common/aiming/aim_task.cpp
  calibration_common/aiming/branch_solver.cpp
  calibration_common/aiming/frozen_lens.cpp
  calibration_common/aiming/head_chain.cpp
  calibration_common/aiming/limited_fit.cpp
  calibration_common/aiming/motor_joint.cpp
  calibration_common/aiming/position_order.cpp
  calibration_common/aiming/request_check.cpp
  calibration_common/aiming/sphere_outline.cpp
  calibration_common/aiming/target_outline.cpp
  calibration_common/aiming/target_placing.cpp
  calibration_common/aiming/zoom_choice.cpp
  calibration_common/aiming/zoom_limits.cpp
  calibration_common/aiming/zoom_search.cpp
  calibration_common/coverage/head_range.cpp
  calibration_common/coverage/picture_search.cpp
  calibration_common/coverage/widest_picture.cpp
  calibration_common/diff/base_difference.cpp
  calibration_common/diff/best_rotation.cpp
  calibration_common/diff/image_camera.cpp
  calibration_common/diff/image_difference.cpp
  calibration_common/diff/pixel_shifts.cpp
  calibration_common/diff/pose.cpp
  calibration_common/diff/ptz_difference.cpp
  calibration_common/diff/robot_difference.cpp
  calibration_common/loading/calibration_kinds.cpp
  calibration_common/loading/calibration_reading.cpp
  calibration_common/loading/load_reporting.cpp
  calibration_common/pointing/head_equations.cpp
  calibration_common/pointing/head_pose.cpp
  calibration_common/pointing/root_search.cpp
  calibration_common/review/base_checks.cpp
  calibration_common/review/camera_checks.cpp
  calibration_common/review/camera_subject.cpp
  calibration_common/review/check.cpp
  calibration_common/review/delivered_images.cpp
  calibration_common/review/field_order.cpp
  calibration_common/review/head_checks.cpp
  calibration_common/review/image_checks.cpp
  calibration_common/review/lens_checks.cpp
  calibration_common/review/lens_profile.cpp
  calibration_common/review/lens_subject.cpp
  calibration_common/review/list_checks.cpp
  calibration_common/review/message_checks.cpp
  calibration_common/review/motor_checks.cpp
  calibration_common/review/pinhole_checks.cpp
  calibration_common/review/pose_checks.cpp
  calibration_common/review/pose_subject.cpp
  calibration_common/review/ptz_subject.cpp
  calibration_common/review/report.cpp
  calibration_common/review/sample_checks.cpp
  calibration_common/review/sentence.cpp
  calibration_common/review/zoom_checks.cpp
  support/atomic_file.cpp
  support/camera_matrix.cpp
  support/camera_projection.cpp
  support/camera_transform.cpp
  support/checks.cpp
  support/file.cpp
  support/lens_validity.cpp
  support/logging.cpp
  support/message_parsing.cpp
  support/message_printing.cpp
  support/point_derivatives.cpp
  support/point_projection.cpp
  support/printable_text.cpp
  support/rectification.cpp
  support/rotation_z.cpp
  support/sensor_transform.cpp
  support/single_image_calibration.cpp
  support/text_error.cpp
  support/text_fields.cpp
  support/text_places.cpp
  support/trigonometric_equation.cpp
  support/view_fit.cpp
  support/camera/clear_rectangle.cpp
  support/camera/image_border.cpp
  support/camera/kernel_choice.cpp
  support/camera/kernels_baseline.cpp
  support/camera/map_rows.cpp
  support/camera/parallel.cpp
  support/camera/point_batches.cpp
  support/camera/point_solver.cpp
  support/camera/prepared_camera.cpp
  support/camera/rectangle_search.cpp
  support/camera/valid_region.cpp
  support/files/signal_hold.cpp
  support/files/temporary_file.cpp
  support/fit/candidate_choice.cpp
  support/fit/fit_problem.cpp
  support/fit/fit_stages.cpp
  support/fit/fitted_camera.cpp
  support/fit/lens_families.cpp
  support/fit/levenberg_marquardt.cpp
  support/fit/normal_equations.cpp
  support/fit/planar_view.cpp
  support/fit/plane_pose.cpp
  support/fit/priors.cpp
  support/fit/projector.cpp
  support/fit/regular_map.cpp
  support/fit/start_search.cpp
  support/lens/lens_domain.cpp
  support/lens/lens_inverse.cpp
  support/lens/radial_branch.cpp
  support/log/delivery.cpp
  support/log/error_line.cpp
  support/log/escapes.cpp
  support/log/level_names.cpp
  support/log/levels.cpp
  support/log/line.cpp
  support/log/text.cpp
  support/messages/decimal_text.cpp
  support/messages/message_reading.cpp
  support/messages/message_walk.cpp
  support/messages/string_text.cpp
  support/messages/text_losses.cpp
  support/numeric/circle_conic.cpp
  support/numeric/monotone_cubic.cpp
  support/numeric/polynomial_zero.cpp
  support/sensor/lens_curve.cpp
  support/sensor/sensor_warp.cpp)

# Loops over many points for newer processors, chosen at run time (support/camera/kernels.h).
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64)$" AND CMAKE_SIZEOF_VOID_P EQUAL 8)
  list(APPEND library_sources support/camera/kernels_avx2.cpp support/camera/kernels_avx512.cpp)
  set_source_files_properties(support/camera/kernels_avx2.cpp PROPERTIES COMPILE_OPTIONS -mavx2)
  set_source_files_properties(support/camera/kernels_avx512.cpp PROPERTIES
    COMPILE_OPTIONS "-mavx512f;-mavx512dq;-mavx512vl;-mavx512bw")
  set_source_files_properties(support/camera/kernel_choice.cpp PROPERTIES
    COMPILE_DEFINITIONS NORV_HAS_X86_KERNELS)
endif()

# Headers that those who link the library include, directly or through another one: all that lie on the
# ground floor of support/, and these.
file(GLOB public_headers RELATIVE "${PROJECT_SOURCE_DIR}" CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/support/*.h")
list(APPEND public_headers
  calibration_common/adjusted_calibration.h
  calibration_common/base_calibration_data.h
  calibration_common/calibration_diff.h
  calibration_common/calibration_format.h
  calibration_common/calibration_review.h
  calibration_common/calibration_saving.h
  calibration_common/camera_parameters.h
  calibration_common/camera_view.h
  calibration_common/finding.h
  calibration_common/head_geometry.h
  calibration_common/load_report.h
  calibration_common/pan_tilt_model.h
  calibration_common/pan_tilt_roots.h
  calibration_common/ptz_aiming.h
  calibration_common/ptz_camera_model.h
  calibration_common/ptz_coverage.h
  calibration_common/save_problem.h)

set(embedded_files
  calibration/default_base_cal.txt
  calibration/default_head_cal.txt)

set(generated_dir "${PROJECT_BINARY_DIR}/generated")
set(generated_sources)
set(generated_headers)
foreach(proto IN LISTS proto_files)
  string(REGEX REPLACE "\\.proto$" "" stem "${proto}")
  set(outputs "${generated_dir}/${stem}.pb.cc" "${generated_dir}/${stem}.pb.h")
  add_custom_command(
    OUTPUT ${outputs}
    COMMAND "${CMAKE_COMMAND}" -E make_directory "${generated_dir}"
    COMMAND protobuf::protoc "--proto_path=${PROJECT_SOURCE_DIR}" "--cpp_out=${generated_dir}"
      "${proto}"
    WORKING_DIRECTORY "${PROJECT_SOURCE_DIR}"
    DEPENDS ${proto_files} protobuf::protoc
    COMMENT "Generating ${stem}.pb.h"
    VERBATIM)
  list(APPEND generated_sources "${generated_dir}/${stem}.pb.cc")
  list(APPEND generated_headers "${generated_dir}/${stem}.pb.h")
endforeach()
add_custom_target(camera_parameters_messages DEPENDS ${generated_headers})

# The generated code keeps default visibility: protoc's own export macro would break its headers for
# those who use them without our build.
add_library(camera_parameters_proto OBJECT ${generated_sources})
target_compile_features(camera_parameters_proto PUBLIC cxx_std_17)
target_include_directories(camera_parameters_proto PUBLIC "${generated_dir}")
target_link_libraries(camera_parameters_proto PUBLIC protobuf::libprotobuf)
# Without it, in debug builds alone, parsing prints a line for every string that is not UTF-8.
target_compile_definitions(camera_parameters_proto PRIVATE NDEBUG)
set_target_properties(camera_parameters_proto PROPERTIES POSITION_INDEPENDENT_CODE ON)

add_library(camera_parameters_core OBJECT ${library_sources})
target_link_libraries(camera_parameters_core
  PRIVATE camera_parameters_options
  PUBLIC protobuf::libprotobuf Eigen3::Eigen)
set_target_properties(camera_parameters_core PROPERTIES
  POSITION_INDEPENDENT_CODE ON
  CXX_VISIBILITY_PRESET hidden
  VISIBILITY_INLINES_HIDDEN ON)
add_dependencies(camera_parameters_core camera_parameters_messages)

camera_parameters_embed_files("${PROJECT_BINARY_DIR}/embedded_files.cpp" ${embedded_files})
add_library(camera_parameters_embedded OBJECT "${PROJECT_BINARY_DIR}/embedded_files.cpp")
target_link_libraries(camera_parameters_embedded PRIVATE camera_parameters_options)
set_target_properties(camera_parameters_embedded PROPERTIES
  POSITION_INDEPENDENT_CODE ON
  CXX_VISIBILITY_PRESET hidden)

# Shared, unless BUILD_SHARED_LIBS says otherwise.
set(library_type "")
if(NOT DEFINED BUILD_SHARED_LIBS)
  set(library_type SHARED)
endif()
add_library(camera_parameters ${library_type}
  $<TARGET_OBJECTS:camera_parameters_proto>
  $<TARGET_OBJECTS:camera_parameters_core>
  $<TARGET_OBJECTS:camera_parameters_embedded>)
add_library(norv::camera_parameters ALIAS camera_parameters)
set_target_properties(camera_parameters PROPERTIES
  VERSION "${PROJECT_VERSION}"
  SOVERSION "${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}"
  LINKER_LANGUAGE CXX)
target_compile_features(camera_parameters PUBLIC cxx_std_17)
target_link_libraries(camera_parameters PUBLIC protobuf::libprotobuf Eigen3::Eigen)
get_target_property(library_type camera_parameters TYPE)
if(library_type STREQUAL "SHARED_LIBRARY" AND NOT CAMERA_PARAMETERS_SANITIZERS)
  # The sanitizers' runtime is the program's.
  target_link_options(camera_parameters PRIVATE -Wl,--no-undefined)
endif()
# <camera_parameters/support/file.h> is this library's header wherever another support/ folder is searched
# first. Installed, it lies at that path; in the build folder a file that leads to it does.
set(prefixed_dir "${PROJECT_BINARY_DIR}/prefixed")
foreach(header IN LISTS public_headers)
  file(CONFIGURE OUTPUT "${prefixed_dir}/camera_parameters/${header}"
    CONTENT "#include \"${PROJECT_SOURCE_DIR}/${header}\"\n" @ONLY)
endforeach()
# No file sets: installed to an absolute path, CMake 3.25 writes that path wrongly into the package file.
target_include_directories(camera_parameters INTERFACE
  "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR};${generated_dir};${prefixed_dir}>")
add_dependencies(camera_parameters camera_parameters_messages)

# The static twin, and two variants for tests that bring their own compiled-in files or their own
# calibrateFromSingleImage.
function(camera_parameters_add_static name)
  add_library(${name} STATIC EXCLUDE_FROM_ALL $<TARGET_OBJECTS:camera_parameters_proto> ${ARGN})
  target_link_libraries(${name}
    PUBLIC camera_parameters_options protobuf::libprotobuf Eigen3::Eigen)
  set_target_properties(${name} PROPERTIES LINKER_LANGUAGE CXX)
  add_dependencies(${name} camera_parameters_messages)
endfunction()

set(core_objects $<TARGET_OBJECTS:camera_parameters_core>)
set(embedded_objects $<TARGET_OBJECTS:camera_parameters_embedded>)
camera_parameters_add_static(camera_parameters_static ${core_objects} ${embedded_objects})
camera_parameters_add_static(camera_parameters_static_without_files ${core_objects})
camera_parameters_add_static(camera_parameters_static_without_fit
  $<FILTER:${core_objects},EXCLUDE,/single_image_calibration\\.cpp> ${embedded_objects})
