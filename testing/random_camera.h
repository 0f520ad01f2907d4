#pragma once

/// Cameras and places drawn at random, their numbers of single precision as those of calibrations.

#include <Eigen/Geometry>
#include <random>

#include "support/camera_model.h"
#include "support/camera_transform.h"
#include "support/matrix_types.h"
#include "testing/lenses.h"

namespace norv::testing {

inline double uniform(double low, double high, std::mt19937* random) {
  return std::uniform_real_distribution<double>(low, high)(*random);
}

/// The point in single precision and back. Not inlined: GCC 12 leaves out the rounding where it
/// sees both conversions of a vector.
[[gnu::noinline]] inline Eigen::Vector3d widen(const Vector3_f& point) {
  return {static_cast<double>(point.x()), static_cast<double>(point.y()),
          static_cast<double>(point.z())};
}

inline CameraTransform poseOf(const Eigen::Isometry3f& camera_from_parent) {
  CameraTransform pose;
  pose.setTransform(camera_from_parent.matrix(), CameraTransform::kForward);
  return pose;
}

/// Any rotation, and a few metres.
inline CameraTransform randomPose(std::mt19937* random) {
  const auto number = [random](double bound) {
    return static_cast<float>(uniform(-bound, bound, random));
  };
  Eigen::Isometry3f pose = Eigen::Isometry3f::Identity();
  const Eigen::Quaternionf turn(number(1), number(1), number(1), number(1));
  pose.linear() = turn.normalized().toRotationMatrix();
  pose.translation() = Eigen::Vector3f(number(3), number(3), number(3));
  return poseOf(pose);
}

/// 1280 x 960 with unequal focal lengths, skew and an axis off the middle.
inline calibration::CameraModel randomCamera(const NamedLens& lens, std::mt19937* random) {
  const auto number = [random](double low, double high) {
    return static_cast<double>(static_cast<float>(uniform(low, high, random)));
  };
  return {1280,
          960,
          number(400, 1500),
          number(400, 1500),
          number(-5, 5),
          number(500, 780),
          number(400, 560),
          lens.lens()};
}

}  // namespace norv::testing
