#include "calibration_common/coverage/head_range.h"

#include <Eigen/LU>
#include <algorithm>
#include <cmath>
#include <limits>

#include "support/numeric/angles.h"

namespace norv::internal {
namespace {

using calibration::PanTiltSystemParameters;
using Eigen::Vector3d;

constexpr double kTurn = 2 * kPi;
/// Rounding of the angles that are asked about, radians: far below a motor's step.
constexpr double kTolerance = 1e-9;

AngleRange rangeOf(double scale, double offset, double lowest, double highest) {
  const double a = (std::min(lowest, highest) - offset) * scale;
  const double b = (highest - offset) * scale;
  return {std::min(a, b), std::max(a, b)};
}

Vector3d turned(const Vector3d& v, double angle) {
  const double c = std::cos(angle);
  const double s = std::sin(angle);
  return {c * v.x() - s * v.y(), s * v.x() + c * v.y(), v.z()};
}

Eigen::Matrix3d turnOf(const CameraTransform& pose) {
  return pose.transform.topLeftCorner<3, 3>().cast<double>();
}

Vector3d shiftOf(const CameraTransform& pose) {
  return pose.transform.topRightCorner<3, 1>().cast<double>();
}

}  // namespace

bool AngleRange::isFull() const { return high - low >= kTurn; }

bool AngleRange::reaches(double angle) const {
  const double turns = std::ceil((low - kTolerance - angle) / kTurn);
  return angle + turns * kTurn <= high + kTolerance;
}

bool HeadRange::isFinite() const {
  return std::isfinite(pan.low) && std::isfinite(pan.high) && std::isfinite(tilt.low) &&
         std::isfinite(tilt.high);
}

HeadRange headRange(const PanTiltSystemParameters& head) {
  constexpr double kLowest = std::numeric_limits<int>::min();
  constexpr double kHighest = std::numeric_limits<int>::max();
  return {rangeOf(static_cast<double>(head.pan_scale()), static_cast<double>(head.pan_offset()),
                  head.has_min_pan() ? head.min_pan() : kLowest,
                  head.has_max_pan() ? head.max_pan() : kHighest),
          rangeOf(static_cast<double>(head.tilt_scale()), static_cast<double>(head.tilt_offset()),
                  head.has_min_tilt() ? head.min_tilt() : kLowest,
                  head.has_max_tilt() ? head.max_tilt() : kHighest)};
}

Vector3d JointFrames::inTilt(const Vector3d& in_pan, double pan) const {
  return tilt_turn * turned(in_pan, pan) + tilt_shift;
}

Vector3d JointFrames::inCamera(const Vector3d& in_tilt, double tilt) const {
  return camera_turn * turned(in_tilt, tilt) + camera_shift;
}

Vector3d JointFrames::turningPoint() const {
  // The tilt axis in the pan frame: a point, and a direction. The pan axis is that frame's z.
  const Eigen::Matrix3d pan_from_tilt = tilt_turn.inverse();
  const Vector3d point = -(pan_from_tilt * tilt_shift);
  const Vector3d axis = pan_from_tilt.col(2).normalized();
  const double level = axis.head<2>().squaredNorm();
  constexpr double kParallel = 1e-12;  // sine squared, as in the search for angles
  if (!(level > kParallel)) return Vector3d::Constant(std::numeric_limits<double>::quiet_NaN());
  const double along = -point.head<2>().dot(axis.head<2>()) / level;
  return pan_turn.inverse() * (Vector3d(0, 0, point.z() + along * axis.z()) - pan_shift);
}

JointFrames jointFrames(const calibration::PanTiltModel& model) {
  return {turnOf(model.getBaseToPan()),    shiftOf(model.getBaseToPan()),
          turnOf(model.getPanToTilt()),    shiftOf(model.getPanToTilt()),
          turnOf(model.getTiltToCamera()), shiftOf(model.getTiltToCamera())};
}

}  // namespace norv::internal
