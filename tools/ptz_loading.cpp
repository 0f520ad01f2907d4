#include "tools/ptz_loading.h"

#include <fmt/format.h>

#include <Eigen/Geometry>
#include <cmath>
#include <memory>

#include "support/logging.h"
#include "tools/tool_error.h"

namespace norv::tools {
namespace {

using calibration::CameraExtrinsics;
using calibration::PanTiltModel;
using calibration::PTZCameraModel;
using calibration::PTZCameraModelPtr;
using calibration::PTZCameraParameters;

void requirePose(const CalibrationInput& input, const char* path, const CameraExtrinsics& pose) {
  if (pose.a_size() >= 12) return;
  throw ToolError(describeProblem(
      input, path, fmt::format("holds {} values, at least 12 are needed", pose.a_size())));
}

}  // namespace

PTZCameraModelPtr loadPtz(const CalibrationInput& input, const PTZCameraParameters& params) {
  if (params.intrinsics().samples().empty()) {
    throw ToolError(describeProblem(input, "intrinsics.samples", "there are no lens samples"));
  }
  requirePose(input, "pan_tilt.base_to_pan.a", params.pan_tilt().base_to_pan());
  requirePose(input, "pan_tilt.pan_to_tilt.a", params.pan_tilt().pan_to_tilt());
  requirePose(input, "pan_tilt.tilt_to_camera.a", params.pan_tilt().tilt_to_camera());
  return std::make_shared<const PTZCameraModel>(params);
}

HeadGeometry describeHead(const PanTiltModel& head) {
  const Eigen::Matrix4d pan_from_camera =
      head.getPanToTilt().inverse.cast<double>() * head.getTiltToCamera().inverse.cast<double>();
  const Eigen::Vector3d axis = pan_from_camera.col(2).head<3>().normalized();
  const Eigen::Vector3d center = pan_from_camera.col(3).head<3>();
  // The gap between two lines is the offset between points of theirs, measured along their common
  // normal; between parallel ones it is the offset itself.
  const Eigen::Vector3d pan_axis(0, 0, 1);
  const Eigen::Vector3d normal = pan_axis.cross(axis);
  const double gap =
      normal.norm() > 1e-9 ? std::abs(center.dot(normal.normalized())) : center.head<2>().norm();
  return {std::atan2(axis.y(), axis.x()), std::atan2(axis.z(), axis.head<2>().norm()), gap};
}

}  // namespace norv::tools
