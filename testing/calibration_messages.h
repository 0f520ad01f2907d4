#pragma once

/// Calibration messages to begin tests with.

#include <initializer_list>
#include <string>

#include "proto/norv_camera_calibration.pb.h"
#include "proto/norv_robot_calibration.pb.h"
#include "support/matrix_types.h"

namespace norv::testing {

/// A camera without skew at the robot's origin, 1280 x 960, its radial coefficients 1 to 6 and its
/// tangential ones 7 and 8: numbers that show where each one went.
inline calibration::CameraCalibration exampleCamera(const std::string& name,
                                                    const std::string& model) {
  calibration::CameraCalibration camera;
  camera.set_name(name);
  camera.set_model(model);
  calibration::CameraIntrinsics* intrinsics = camera.mutable_intrinsics();
  intrinsics->set_fx(1000);
  intrinsics->set_fy(1000);
  intrinsics->set_skew(0);
  intrinsics->set_cx(640);
  intrinsics->set_cy(480);
  intrinsics->set_width(1280);
  intrinsics->set_height(960);
  for (const double k : {1, 2, 3, 4, 5, 6}) intrinsics->add_radial(k);
  for (const double p : {7, 8}) intrinsics->add_tangential(p);
  for (const double a : {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0}) camera.mutable_extrinsics()->add_a(a);
  return camera;
}

inline calibration::RobotCalibration robotOf(
    std::initializer_list<calibration::CameraCalibration> cameras) {
  calibration::RobotCalibration robot;
  for (const calibration::CameraCalibration& camera : cameras) {
    *robot.add_camera_calibration() = camera;
  }
  return robot;
}

/// A camera matrix by its elements.
inline Matrix3x3_f cameraMatrix(float fx, float fy, float skew, float cx, float cy) {
  Matrix3x3_f k;
  k << fx, skew, cx,  //
      0, fy, cy,      //
      0, 0, 1;
  return k;
}

}  // namespace norv::testing
