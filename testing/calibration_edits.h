#pragma once

/// Compiled-in calibrations and edits of them, for tests of what a change does.

#include <string>

#include "calibration_common/camera_parameters.h"
#include "proto/norv_robot_calibration.pb.h"

namespace norv::testing {

/// The compiled-in cameras, in which a review finds nothing.
inline const calibration::RobotCalibration& defaultRobot() {
  // Once: a set fits the head camera whenever it is made.
  static const calibration::RobotCalibration robot =
      calibration::CameraParametersSet().getRobotCalibration();
  return robot;
}

/// The compiled-in calibration with what `edit` does to the camera of that name.
template <class Edit>
calibration::RobotCalibration defaultRobotWith(const std::string& name, const Edit& edit) {
  calibration::RobotCalibration robot = defaultRobot();
  for (calibration::CameraCalibration& camera : *robot.mutable_camera_calibration()) {
    if (camera.name() == name) edit(&camera);
  }
  return robot;
}

/// Keeps the samples of the grid points for which `keep` holds, and states their number.
template <class Keep>
void keepSamples(calibration::CameraIntrinsics* in, const Keep& keep) {
  calibration::CameraIntrinsics some;
  for (const calibration::SamplePoint& sample : in->samples()) {
    if (keep(static_cast<int>(sample.model_x()), static_cast<int>(sample.model_y()))) {
      *some.add_samples() = sample;
    }
  }
  in->set_sample_size_x(some.samples_size());
  in->set_sample_size_y(1);
  in->mutable_samples()->Swap(some.mutable_samples());
}

/// A camera without skew and distortion, f = 1000, of a model that delivers its full frame alone,
/// in the robot's frame.
inline calibration::CameraCalibration pinholeCamera(const std::string& name, int width,
                                                    int height) {
  calibration::CameraCalibration camera;
  camera.set_name(name);
  calibration::CameraIntrinsics* intrinsics = camera.mutable_intrinsics();
  intrinsics->set_fx(1000);
  intrinsics->set_fy(1000);
  intrinsics->set_cx(0.5 * width);
  intrinsics->set_cy(0.5 * height);
  intrinsics->set_width(width);
  intrinsics->set_height(height);
  for (int i = 0; i < 6; ++i) intrinsics->add_radial(0);
  for (int i = 0; i < 2; ++i) intrinsics->add_tangential(0);
  for (const double a : {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0}) camera.mutable_extrinsics()->add_a(a);
  return camera;
}

}  // namespace norv::testing
