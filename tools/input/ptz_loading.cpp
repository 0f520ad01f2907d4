#include "tools/input/ptz_loading.h"

#include <fmt/format.h>

#include <memory>

#include "tools/tool_error.h"

namespace norv::tools {
namespace {

using calibration::CameraExtrinsics;
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

}  // namespace norv::tools
