#include "calibration_common/message_copy.h"

#include <algorithm>
#include <climits>
#include <cstddef>

namespace norv::internal {
namespace {

using calibration::BaseCalibrationProto;
using calibration::CameraCalibration;
using calibration::CameraIntrinsics;
using calibration::RobotCalibration;

template <class M>
bool hasUnknown(const M& message) {
  return !message.unknown_fields().empty();
}

bool hasUnknownAnywhere(const CameraCalibration& camera) {
  const CameraIntrinsics& intrinsics = camera.intrinsics();
  const auto& samples = intrinsics.samples();
  return hasUnknown(camera) || hasUnknown(intrinsics) || hasUnknown(camera.extrinsics()) ||
         std::any_of(samples.begin(), samples.end(), [](const auto& s) { return hasUnknown(s); });
}

bool hasUnknownAnywhere(const RobotCalibration& robot) {
  const auto& cameras = robot.camera_calibration();
  return hasUnknown(robot) || std::any_of(cameras.begin(), cameras.end(), [](const auto& camera) {
           return hasUnknownAnywhere(camera);
         });
}

/// Copies by way of the binary format, or field by field where that has no room for the message:
/// beyond 2 GiB, or nested too deep.
template <class M>
void copyAsBytes(const M& from, M* to) {
  if (from.ByteSizeLong() > static_cast<std::size_t>(INT_MAX) ||
      !to->ParsePartialFromString(from.SerializePartialAsString())) {
    to->CopyFrom(from);
  }
}

}  // namespace

void copyMessage(const RobotCalibration& from, RobotCalibration* to) {
  if (hasUnknownAnywhere(from)) {
    copyAsBytes(from, to);
  } else {
    to->CopyFrom(from);
  }
}

void copyMessage(const CameraCalibration& from, CameraCalibration* to) {
  if (hasUnknownAnywhere(from)) {
    copyAsBytes(from, to);
  } else {
    to->CopyFrom(from);
  }
}

void copyMessage(const BaseCalibrationProto& from, BaseCalibrationProto* to) {
  copyAsBytes(from, to);
}

}  // namespace norv::internal
