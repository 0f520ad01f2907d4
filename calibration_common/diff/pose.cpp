#include "calibration_common/diff/pose.h"

#include <Eigen/Geometry>
#include <Eigen/LU>
#include <cmath>

namespace norv::internal::diff {
namespace {

constexpr double kMetres = 0.001;  ///< per millimetre

Eigen::Vector3d originInParent(const Pose& pose) {
  return -(pose.linear.inverse() * pose.translation);
}

/// A turn about the z axis of both frames.
Pose turnAboutZ(double angle) {
  Pose pose;
  pose.linear = Eigen::AngleAxisd(angle, Eigen::Vector3d::UnitZ()).toRotationMatrix();
  return pose;
}

/// Angle of a joint, radians.
double angleAt(int steps, float offset, float scale) {
  return (steps - static_cast<double>(offset)) * static_cast<double>(scale);
}

}  // namespace

Pose readPose(const calibration::CameraExtrinsics& stored) {
  Pose pose;
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c) pose.linear(r, c) = stored.a(4 * r + c);
    pose.translation[r] = stored.a(4 * r + 3) * kMetres;
  }
  return pose;
}

Pose compose(const Pose& second, const Pose& first) {
  Pose both;
  both.linear = second.linear * first.linear;
  both.translation = second.linear * first.translation + second.translation;
  return both;
}

Pose between(const Pose& a, const Pose& b) {
  Pose pose;
  if (a.linear != b.linear) pose.linear = b.linear * a.linear.inverse();
  pose.translation = b.translation - pose.linear * a.translation;
  return pose;
}

calibration::PoseDifference comparePoses(const Pose& a, const Pose& b) {
  const Eigen::Matrix3d r = between(a, b).linear;
  const Eigen::Vector3d sine(r(2, 1) - r(1, 2), r(0, 2) - r(2, 0), r(1, 0) - r(0, 1));
  const Eigen::Vector3d movement = originInParent(b) - originInParent(a);
  calibration::PoseDifference difference;
  difference.angle = std::atan2(sine.norm(), r.trace() - 1);
  difference.distance = movement.norm();
  difference.movement = {movement.x(), movement.y(), movement.z()};
  return difference;
}

Pose headPose(const calibration::PanTiltSystemParameters& head, int pan, int tilt) {
  const Pose pan_turn = turnAboutZ(angleAt(pan, head.pan_offset(), head.pan_scale()));
  const Pose tilt_turn = turnAboutZ(angleAt(tilt, head.tilt_offset(), head.tilt_scale()));
  const Pose pan_from_base = compose(pan_turn, readPose(head.base_to_pan()));
  const Pose tilt_from_base =
      compose(tilt_turn, compose(readPose(head.pan_to_tilt()), pan_from_base));
  return compose(readPose(head.tilt_to_camera()), tilt_from_base);
}

}  // namespace norv::internal::diff
