#pragma once

/// The camera of inputs.h in double precision, as its peers have it.

#include <Eigen/Core>
#include <Eigen/Geometry>
#include <cstddef>
#include <vector>

#include "benchmarks/inputs.h"
#include "support/rectification.h"

namespace norv::benchmarks {

inline constexpr int kMapWidth = 1280;
inline constexpr int kMapHeight = 960;
inline constexpr std::size_t kMapPixels = std::size_t{kMapWidth} * kMapHeight;
/// Of the straightened picture, which shows a little more than the camera's.
inline constexpr double kViewFocalLength = 700;

inline calibration::CameraModel exampleModel(const std::vector<float>& lens) {
  return {kMapWidth,
          kMapHeight,
          kFocalLength,
          kFocalLength,
          0,
          kCentreX,
          kCentreY,
          calibration::lensFromCoefficients<double>(lens.data(), lens.size())};
}

inline calibration::RectifiedView straightView() {
  return {kMapWidth, kMapHeight, kViewFocalLength, kViewFocalLength, kCentreX, kCentreY};
}

/// `examplePoints` in the camera frame of `examplePose`.
inline std::vector<Eigen::Vector3d> pointsInCamera(std::size_t count) {
  std::vector<Eigen::Vector3d> points;
  for (const Vector3_f& point : examplePoints(count)) {
    const Eigen::Vector4f p = examplePose() * point.homogeneous();
    points.push_back(p.head<3>().cast<double>());
  }
  return points;
}

}  // namespace norv::benchmarks
