#pragma once

/// A pinhole camera with the eight-coefficient rational lens, at a pose.
/// Units, frames, pixel origin: docs/conventions.md.

#include <array>
#include <cstddef>

#include "lens_distortion.h"

namespace norv::calibration {

/// Projection of points into an image: camera matrix without skew, lens distortion and pose, 24
/// parameters in all. The scalar may be float, double or a dual number (support/auto_diff.h); every
/// parameter is zero initially. A plain value.
template <class T>
struct OpenCVProjection {
  T fx{};  ///< focal lengths, pixels
  T fy{};
  T cx{};  ///< principal point, pixels
  T cy{};
  T k1{};  ///< radial distortion, numerator
  T k2{};
  T k3{};
  T k4{};  ///< radial distortion, denominator
  T k5{};
  T k6{};
  T p1{};  ///< tangential distortion
  T p2{};
  std::array<T, 9> rotation{};     ///< camera_from_reference, row by row
  std::array<T, 3> translation{};  ///< of the reference's origin in the camera frame, metres

  LensDistortion<T> lens() const { return {k1, k2, p1, p2, k3, k4, k5, k6}; }

  /// Point of the reference frame, in metres, in the camera frame.
  std::array<T, 3> toCamera(const std::array<T, 3>& point) const {
    std::array<T, 3> p = translation;
    for (std::size_t row = 0; row < 3; ++row) {
      for (std::size_t column = 0; column < 3; ++column) {
        p[row] += rotation[3 * row + column] * point[column];
      }
    }
    return p;
  }

  /// Pixel of a point of the reference frame, in metres. The depth is not checked: a point in the
  /// camera's plane gives infinite or NaN coordinates, one behind the camera its mirror image.
  std::array<T, 2> project(const std::array<T, 3>& point) const {
    const std::array<T, 3> p = toCamera(point);
    const NormalizedPoint<T> distorted =
        lens().distort(NormalizedPoint<T>{p[0] / p[2], p[1] / p[2]});
    return {fx * distorted.x + cx, fy * distorted.y + cy};
  }
};

}  // namespace norv::calibration
