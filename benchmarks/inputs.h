#pragma once

/// Inputs that the library and its peers are measured on alike.

#include <Eigen/Core>
#include <cstddef>
#include <vector>

#include "support/matrix_types.h"

namespace norv::benchmarks {

/// A lens as k1, k2, p1, p2, k3, k4, k5, k6.
inline const std::vector<float> kMildLens = {-0.28F, 0.07F, 0.0003F, -0.0002F, 0, 0, 0, 0};
/// A stereographic lens, 120 degrees across.
inline const std::vector<float> kStrongLens = {0.800174F, 0.117548F, 0,         0,
                                               0.001619F, 1.050108F, 0.255504F, 0.011237F};

inline constexpr float kFocalLength = 720;  ///< pixels
inline constexpr float kCentreX = 640;
inline constexpr float kCentreY = 480;

inline Matrix3x3_f exampleCameraMatrix() {
  Matrix3x3_f k;
  k << kFocalLength, 0, kCentreX,  //
      0, kFocalLength, kCentreY,   //
      0, 0, 1;
  return k;
}

/// camera_from_world of a camera that looks along the world's x axis.
inline Matrix4x4_f examplePose() {
  Matrix4x4_f m;
  m << 0, -1, 0, 0.1F,  //
      0, 0, -1, 1.2F,   //
      1, 0, 0, 0.3F,    //
      0, 0, 0, 1;
  return m;
}

/// World points all over the image, so that the processor's branch prediction has no pattern to
/// learn.
inline std::vector<Vector3_f> examplePoints(std::size_t count = 256) {
  std::vector<Vector3_f> points;
  for (std::size_t i = 0; i < count; ++i) {
    points.emplace_back(2.0F, 0.1F * static_cast<float>(i % 16) - 0.7F,
                        0.1F * static_cast<float>(i / 16 % 16) - 0.5F);
  }
  return points;
}

/// Pixels all over the image of 1280 x 960.
inline std::vector<Vector2_f> examplePixels(std::size_t count = 256) {
  std::vector<Vector2_f> pixels;
  for (std::size_t i = 0; i < count; ++i) {
    pixels.emplace_back(20.0F + 82.0F * static_cast<float>(i % 16),
                        20.0F + 61.0F * static_cast<float>(i / 16 % 16));
  }
  return pixels;
}

/// Goes round a list for ever.
template <class T>
class Cycle {
 public:
  explicit Cycle(std::vector<T> values) : values_(std::move(values)) {}

  const T& next() {
    const T& value = values_[next_];
    next_ = next_ + 1 == values_.size() ? 0 : next_ + 1;
    return value;
  }

 private:
  std::vector<T> values_;
  std::size_t next_ = 0;
};

}  // namespace norv::benchmarks
