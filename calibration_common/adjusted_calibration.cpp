#include "calibration_common/adjusted_calibration.h"

#include <algorithm>
#include <cmath>

#include "calibration_common/camera_parameters.h"

namespace norv::calibration {
namespace {

/// Number of values that a pose has; further ones are ignored.
constexpr int kPoseValues = 12;

bool isSameNumber(double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }

bool isSamePose(const CameraExtrinsics& a, const CameraExtrinsics& b) {
  if (a.a_size() < kPoseValues || b.a_size() < kPoseValues) return false;
  return std::equal(a.a().begin(), a.a().begin() + kPoseValues, b.a().begin(), isSameNumber);
}

bool canBeOfOneTime(const CalibrationMetadataProto& a, const CalibrationMetadataProto& b) {
  if (!a.has_calibration_time() || !b.has_calibration_time()) return true;
  return a.calibration_time() == b.calibration_time();
}

bool movesNothing(const BaseCalibrationData& base) {
  return base.getWorldRotation() == Matrix3x3_f::Identity() &&
         base.getWorldTranslation() == Vector3_f::Zero();
}

}  // namespace

std::optional<RobotCalibration> adjustCalibration(const RobotCalibration& robot,
                                                  const BaseCalibrationData& base) {
  if (robot.camera_calibration().empty()) return robot;
  CameraParametersSet set;
  // Otherwise the default calibration would be in force, and moved.
  if (!set.loadFromProto(robot)) return std::nullopt;
  if (!movesNothing(base)) set.adjustUsingBaseCalibration(base);
  RobotCalibration adjusted = set.getRobotCalibration();
  for (CameraCalibration& camera : *adjusted.mutable_camera_calibration()) {
    *camera.add_adjusted_by() = base.getCalibration().global_transform_adjustment();
  }
  return adjusted;
}

bool wasAdjustedBy(const CameraCalibration& camera, const BaseCalibrationData& base) {
  const CameraCalibrationAdjustmentProto& asked =
      base.getCalibration().global_transform_adjustment();
  return std::any_of(camera.adjusted_by().begin(), camera.adjusted_by().end(),
                     [&asked](const CameraCalibrationAdjustmentProto& done) {
                       return isSamePose(done.global_transform(), asked.global_transform()) &&
                              canBeOfOneTime(done.metadata(), asked.metadata());
                     });
}

}  // namespace norv::calibration
