#include "support/fit/fitted_camera.h"

#include <Eigen/Geometry>

namespace norv::internal::fit {
namespace {

constexpr double kMinFocalLength = 0.02;

Eigen::Matrix3d rotationFromVector(const Eigen::Vector3d& w) {
  const double angle = w.norm();
  if (angle == 0) return Eigen::Matrix3d::Identity();
  return Eigen::AngleAxisd(angle, w / angle).toRotationMatrix();
}

/// Takes the rounding errors of many products out of a rotation: one Newton step towards the
/// nearest orthonormal matrix.
Eigen::Matrix3d orthonormalized(const Eigen::Matrix3d& rotation) {
  return rotation * (3 * Eigen::Matrix3d::Identity() - rotation.transpose() * rotation) / 2;
}

}  // namespace

calibration::LensDistortion<double> FittedCamera::lens() const {
  calibration::LensDistortion<double> lens;
  lens.k1 = intrinsics[kK1];
  lens.k2 = intrinsics[kK1 + 1];
  lens.k3 = intrinsics[kK1 + 2];
  lens.k4 = intrinsics[kK1 + 3];
  lens.k5 = intrinsics[kK1 + 4];
  lens.k6 = intrinsics[kK1 + 5];
  lens.p1 = intrinsics[kP1];
  lens.p2 = intrinsics[kP2];
  return lens;
}

FittedCamera FittedCamera::moved(const ParameterVector& step) const {
  FittedCamera camera;
  camera.intrinsics = intrinsics + step.head<kIntrinsicCount>();
  camera.rotation = orthonormalized(rotationFromVector(step.segment<3>(kRotation)) * rotation);
  camera.translation = translation + step.segment<3>(kTranslation);
  return camera;
}

bool FittedCamera::isPlausible() const {
  return intrinsics.allFinite() && rotation.allFinite() && translation.allFinite() &&
         intrinsics[kFx] > kMinFocalLength && intrinsics[kFy] > kMinFocalLength;
}

}  // namespace norv::internal::fit
