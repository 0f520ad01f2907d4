#include "calibration_common/pointing/head_equations.h"

#include <Eigen/Geometry>
#include <Eigen/LU>
#include <algorithm>
#include <cmath>

namespace norv::internal {
namespace {

using Eigen::Matrix3d;
using Eigen::Vector2d;
using Eigen::Vector3d;

Matrix3d rotationOf(const CameraTransform& pose) {
  return pose.transform.topLeftCorner<3, 3>().cast<double>();
}

Vector3d translationOf(const CameraTransform& pose) {
  return pose.transform.topRightCorner<3, 1>().cast<double>();
}

double largest(const Vector3d& v) { return v.cwiseAbs().maxCoeff(); }

}  // namespace

[[gnu::flatten]] HeadEquations makeHeadEquations(const PanTiltPoses& head, const Vector3d& world,
                                                 const Vector2d& dev) {
  const Vector3d in_pan = rotationOf(head.base_to_pan) * world + translationOf(head.base_to_pan);
  const Matrix3d turn = rotationOf(head.pan_to_tilt);
  HeadEquations equations;
  equations.camera_from_tilt = rotationOf(head.tilt_to_camera);
  const Matrix3d tilt_from_camera = equations.camera_from_tilt.inverse();
  equations.along_cos = turn.col(0) * in_pan.x() + turn.col(1) * in_pan.y();
  equations.along_sin = turn.col(1) * in_pan.x() - turn.col(0) * in_pan.y();
  equations.constant = turn.col(2) * in_pan.z() + translationOf(head.pan_to_tilt);
  equations.origin = -(tilt_from_camera * translationOf(head.tilt_to_camera));
  equations.direction = tilt_from_camera * dev.homogeneous().normalized();
  equations.unit = std::max({largest(equations.along_cos), largest(equations.along_sin),
                             largest(equations.constant), largest(equations.origin)});
  const double scale = 1 / equations.unit;
  for (Vector3d* length :
       {&equations.along_cos, &equations.along_sin, &equations.constant, &equations.origin}) {
    *length *= scale;
  }
  return equations;
}

Conic eliminateRange(const HeadEquations& equations) {
  // d_z times both sides of the second equation's roots, with d_z r = y_z - o_z put in.
  const double dz = equations.direction.z();
  const Vector2d d = equations.direction.head<2>();
  const Vector2d u = dz * equations.along_cos.head<2>();
  const Vector2d v = dz * equations.along_sin.head<2>();
  const Vector2d w = dz * equations.constant.head<2>();
  const Vector2d uz = equations.along_cos.z() * d;
  const Vector2d vz = equations.along_sin.z() * d;
  const Vector2d wz =
      dz * equations.origin.head<2>() + (equations.constant.z() - equations.origin.z()) * d;
  return {u.dot(u) - uz.dot(uz),       2 * (u.dot(v) - uz.dot(vz)), v.dot(v) - vz.dot(vz),
          2 * (u.dot(w) - uz.dot(wz)), 2 * (v.dot(w) - vz.dot(wz)), w.dot(w) - wz.dot(wz)};
}

Ranges findRanges(const HeadEquations& equations, double cos_pan, double sin_pan) {
  const Vector3d y = equations.pointAt(cos_pan, sin_pan);
  const double dz = equations.direction.z();
  const Vector2d d = equations.direction.head<2>();
  const double d2 = d.squaredNorm();
  if (dz * dz >= 0.01 * d2) return {1, {(y.z() - equations.origin.z()) / dz, 0}};
  const Vector2d o = equations.origin.head<2>();
  const double middle = -o.dot(d) / d2;
  const double square = middle * middle + (y.head<2>().squaredNorm() - o.squaredNorm()) / d2;
  const double half = std::sqrt(std::max(0.0, square));
  return {2, {middle + half, middle - half}};
}

bool refine(const HeadEquations& equations, PanAndRange* at) {
  constexpr int kMaxSteps = 60;
  constexpr double kRounding = 1e-14;
  // What is this small, and falls faster than by a thousand, is at its end with this step.
  constexpr double kSmall = 1e-7;
  const Vector3d& d = equations.direction;
  double last = 1;
  for (int i = 0; i < kMaxSteps; ++i) {
    const Vector3d y = equations.pointAt(at->cos_pan, at->sin_pan);
    const Vector3d slope = equations.along_sin * at->cos_pan - equations.along_cos * at->sin_pan;
    const Vector3d on_ray = equations.origin + at->range * d;
    const double height = y.z() - on_ray.z();
    const double distance = 0.5 * (y.head<2>().squaredNorm() - on_ray.head<2>().squaredNorm());
    const double distance_by_pan = y.head<2>().dot(slope.head<2>());
    const double distance_by_range = -on_ray.head<2>().dot(d.head<2>());
    const double scale = -1 / (slope.z() * distance_by_range + d.z() * distance_by_pan);
    double turn = scale * (height * distance_by_range + d.z() * distance);
    const double change = scale * (slope.z() * distance - distance_by_pan * height);
    if (!std::isfinite(turn) || !std::isfinite(change)) return false;
    turn = std::clamp(turn, -0.5, 0.5);
    const double shrink = 1 / std::sqrt(1 + turn * turn);
    *at = {shrink * (at->cos_pan - turn * at->sin_pan), shrink * (at->sin_pan + turn * at->cos_pan),
           at->range + change};
    const double step = std::max(std::abs(turn), std::abs(change));
    if (step < kRounding || (step < kSmall && step < 1e-3 * last)) return true;
    last = step;
  }
  return last < kSmall;
}

}  // namespace norv::internal
