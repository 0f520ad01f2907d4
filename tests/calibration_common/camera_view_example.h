#pragma once

/// Views of cameras, and points that they see.

#include <gtest/gtest.h>

#include <Eigen/Geometry>
#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <string>

#include "calibration_common/camera_view.h"
#include "testing/lenses.h"
#include "testing/random_camera.h"

namespace norv::calibration {

using Pixel = Eigen::Vector2d;
using Point = Eigen::Vector3d;

inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
inline constexpr double kInfinity = std::numeric_limits<double>::infinity();

inline CameraTransform atOrigin() { return testing::poseOf(Eigen::Isometry3f::Identity()); }

/// 640 x 480, f = 500, the axis in the middle.
inline CameraModel simpleCamera(const LensDistortion<double>& lens = {}) {
  return {640, 480, 500, 500, 0, 320, 240, lens};
}

/// The pose as it is computed with: in double, from the numbers in single precision.
inline Eigen::Affine3d poseInDouble(const CameraView& view) {
  return Eigen::Affine3d(Eigen::Matrix4d(view.pose().transform.cast<double>()));
}

/// A point of the parent frame that is seen somewhere about the picture.
inline Point randomPoint(const CameraView& view, std::mt19937* random) {
  const double depth = std::exp(testing::uniform(-2, 4, random));
  const Point in_camera(depth * testing::uniform(-1, 1, random),
                        depth * testing::uniform(-1, 1, random), depth);
  return poseInDouble(view).inverse() * in_camera;
}

class EachLens : public ::testing::TestWithParam<testing::NamedLens> {};

}  // namespace norv::calibration
