#include "calibration_common/aiming/head_chain.h"

#include <Eigen/Geometry>
#include <Eigen/LU>
#include <cmath>

namespace norv::internal {
namespace {

using Eigen::Matrix3d;
using Eigen::Vector3d;

Vector3d turned(const Vector3d& p, double cosine, double sine) {
  return {cosine * p.x() - sine * p.y(), sine * p.x() + cosine * p.y(), p.z()};
}

/// Whether a direction is that of the z axis, but for what single precision hides.
bool isAlongZ(const Vector3d& v) {
  constexpr double kAlong = 1e-6;
  return v.head<2>().norm() <= kAlong * v.norm();
}

/// How a point that turns about z moves, per radian.
Vector3d aboutZ(const Vector3d& p) { return {-p.y(), p.x(), 0}; }

/// `m` times the turn about z.
Matrix3d timesTurn(const Matrix3d& m, double angle) {
  const double c = std::cos(angle);
  const double s = std::sin(angle);
  Matrix3d result;
  result.col(0) = c * m.col(0) + s * m.col(1);
  result.col(1) = c * m.col(1) - s * m.col(0);
  result.col(2) = m.col(2);
  return result;
}

/// The angle about z that brings `from` nearest to the direction `to`.
double turnTowards(const Vector3d& from, const Vector3d& to) {
  return std::atan2(from.x() * to.y() - from.y() * to.x(), from.x() * to.x() + from.y() * to.y());
}

/// The angle near `start` at which `slope` vanishes, by the secant method; `start` where that does
/// not lead to a larger `value`.
template <class Slope, class Value>
double improve(double start, const Slope& slope, const Value& value) {
  constexpr int kMaxSteps = 12;
  constexpr double kSettled = 1e-12;
  double before = start;
  double at = start + 1e-3;
  double slope_before = slope(before);
  for (int i = 0; i < kMaxSteps && std::abs(at - before) > kSettled; ++i) {
    const double slope_at = slope(at);
    const double step = -slope_at * (at - before) / (slope_at - slope_before);
    if (!(std::abs(step) < 1)) break;
    before = at;
    slope_before = slope_at;
    at += step;
  }
  return value(at) > value(start) ? at : start;
}

}  // namespace

HeadPose widened(const Matrix4x4_f& pose) {
  const float* const m = pose.data();  // row by row
  const auto at = [m](int i) { return static_cast<double>(m[i]); };
  HeadPose result;
  result.rotation << at(0), at(1), at(2), at(4), at(5), at(6), at(8), at(9), at(10);
  result.translation << at(3), at(7), at(11);
  return result;
}

HeadChain::HeadChain(const calibration::PanTiltModel& head, const Vector3d& point)
    : pan_from_base_(widened(head.getBaseToPan().transform)),
      tilt_from_pan_(widened(head.getPanToTilt().transform)),
      camera_from_tilt_(widened(head.getTiltToCamera().transform)),
      point_(point),
      point_in_pan_(pan_from_base_ * point) {}

Vector3d HeadChain::pointOrOnAxis() const {
  if (!isAlongZ(point_in_pan_)) return point_;
  const Vector3d on_axis = Vector3d(0, 0, point_in_pan_.z()) - pan_from_base_.translation;
  return pan_from_base_.rotation.inverse() * on_axis;
}

[[gnu::flatten]] HeadPose HeadChain::poseAt(const JointAngles& angles) const {
  const Matrix3d camera_from_turned = timesTurn(camera_from_tilt_.rotation, angles.tilt);
  const Matrix3d camera_from_pan = camera_from_turned * tilt_from_pan_.rotation;
  const Matrix3d camera_from_panned = timesTurn(camera_from_pan, angles.pan);
  HeadPose pose;
  pose.rotation = camera_from_panned * pan_from_base_.rotation;
  pose.translation = camera_from_panned * pan_from_base_.translation +
                     camera_from_turned * tilt_from_pan_.translation +
                     camera_from_tilt_.translation;
  return pose;
}

[[gnu::flatten]] MovingPoint HeadChain::pointAt(const JointAngles& angles) const {
  const Vector3d panned = turned(point_in_pan_, std::cos(angles.pan), std::sin(angles.pan));
  const double c = std::cos(angles.tilt);
  const double s = std::sin(angles.tilt);
  const Vector3d tilted = turned(tilt_from_pan_ * panned, c, s);
  const Vector3d by_pan = turned(tilt_from_pan_.rotation * aboutZ(panned), c, s);
  return {camera_from_tilt_ * tilted, camera_from_tilt_.rotation * by_pan,
          camera_from_tilt_.rotation * aboutZ(tilted)};
}

double HeadChain::bestTilt(const JointAngles& angles, const Vector3d& ray) const {
  const Vector3d in_tilt =
      tilt_from_pan_ * turned(point_in_pan_, std::cos(angles.pan), std::sin(angles.pan));
  const Vector3d wanted = camera_from_tilt_.rotation.transpose() * ray;
  if (isAlongZ(in_tilt) || isAlongZ(wanted)) return angles.tilt;
  const auto at = [&](double tilt) { return pointAt({angles.pan, tilt}); };
  return improve(
      turnTowards(in_tilt, wanted),
      [&](double tilt) {
        const MovingPoint p = at(tilt);
        return cosineSlope(p.at, p.by_tilt, ray);
      },
      [&](double tilt) { return cosineBetween(at(tilt).at, ray); });
}

double HeadChain::bestPan(const JointAngles& angles, const Vector3d& ray) const {
  const Matrix3d camera_from_pan =
      timesTurn(camera_from_tilt_.rotation, angles.tilt) * tilt_from_pan_.rotation;
  const Vector3d wanted = camera_from_pan.transpose() * ray;
  if (isAlongZ(point_in_pan_) || isAlongZ(wanted)) return angles.pan;
  const auto at = [&](double pan) { return pointAt({pan, angles.tilt}); };
  return improve(
      turnTowards(point_in_pan_, wanted),
      [&](double pan) {
        const MovingPoint p = at(pan);
        return cosineSlope(p.at, p.by_pan, ray);
      },
      [&](double pan) { return cosineBetween(at(pan).at, ray); });
}

double cosineBetween(const Vector3d& point, const Vector3d& ray) {
  return point.dot(ray) / (point.norm() * ray.norm());
}

double cosineSlope(const Vector3d& point, const Vector3d& motion, const Vector3d& ray) {
  const double square = point.squaredNorm();
  return (ray.dot(motion) - ray.dot(point) * point.dot(motion) / square) / std::sqrt(square);
}

}  // namespace norv::internal
