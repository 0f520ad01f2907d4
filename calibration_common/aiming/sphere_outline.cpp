#include "calibration_common/aiming/sphere_outline.h"

#include <Eigen/Geometry>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "support/numeric/angles.h"

namespace norv::internal {
namespace {

using Eigen::Vector2d;
using Eigen::Vector3d;

constexpr std::size_t kSamples = 16;
constexpr double kSampleAngle = 2 * kPi / kSamples;

/// The rays that touch a sphere, by an angle about its centre's ray.
class TouchingRays {
 public:
  TouchingRays(const Vector3d& centre, double radius, FrozenLens* lens) : lens_(lens) {
    const double sine = radius / centre.norm();
    const Vector3d towards = centre.normalized();
    along_ = std::sqrt(1 - sine * sine) * towards;
    across_ = sine * towards.unitOrthogonal();
    other_ = towards.cross(across_);
  }

  bool project(double angle, Vector2d* pixel) {
    return lens_->project(along_ + std::cos(angle) * across_ + std::sin(angle) * other_, pixel);
  }

 private:
  FrozenLens* lens_;
  Vector3d along_;
  Vector3d across_;
  Vector3d other_;
};

/// Where, in units of their distance from the middle one, the parabola through three equidistant
/// values has its extreme.
double extremeOf(double before, double middle, double after) {
  const double curvature = before - 2 * middle + after;
  const double offset = 0.5 * (before - after) / curvature;
  constexpr double kFar = 10;  // the coarse parabola's error in units of the fine one
  return std::isfinite(offset) ? std::clamp(offset, -kFar, kFar) : 0;
}

/// A sampled outline, all of it seen.
class SampledOutline {
 public:
  using Pixels = std::array<Vector2d, kSamples>;

  SampledOutline(TouchingRays* rays, const Pixels& pixels) : rays_(rays), pixels_(pixels) {}

  /// Adds the pixels of the outline where `sign` times a coordinate is largest.
  void addExtreme(int coordinate, double sign, Cover* cover) {
    std::size_t best = 0;
    for (std::size_t i = 1; i < kSamples; ++i) {
      if (sign * pixels_[i][coordinate] > sign * pixels_[best][coordinate]) best = i;
    }
    const auto at = [&](std::size_t i) { return pixels_[i % kSamples][coordinate]; };
    double angle = kSampleAngle * (static_cast<double>(best) +
                                   extremeOf(at(best + kSamples - 1), at(best), at(best + 1)));
    // A parabola of a hundredth of the width errs by a millionth of what the first one does.
    constexpr double kNear = 0.01 * kSampleAngle;
    std::array<Vector2d, 3> near;
    for (int i = 0; i < 3; ++i) {
      if (!rays_->project(angle + (i - 1) * kNear, &near[static_cast<std::size_t>(i)])) return;
    }
    cover->add(near[1]);
    angle += kNear * extremeOf(near[0][coordinate], near[1][coordinate], near[2][coordinate]);
    if (rays_->project(angle, near.data())) cover->add(near[0]);
  }

 private:
  TouchingRays* rays_;
  const Pixels& pixels_;
};

}  // namespace

Cover sphereCover(const Vector3d& centre, double radius, FrozenLens* lens) {
  Cover cover;
  cover.is_whole = centre.norm() > radius;
  if (!cover.is_whole) return cover;
  TouchingRays rays(centre, radius, lens);
  SampledOutline::Pixels pixels;
  for (std::size_t i = 0; i < kSamples; ++i) {
    if (rays.project(kSampleAngle * static_cast<double>(i), &pixels[i])) {
      cover.add(pixels[i]);
    } else {
      cover.is_whole = false;
    }
  }
  // So near that its outline is beyond the lens: what is seen of it is its middle.
  if (Vector2d middle; cover.empty() && lens->project(centre, &middle)) cover.add(middle);
  if (!cover.is_whole) return cover;
  SampledOutline outline(&rays, pixels);
  for (const int coordinate : {0, 1}) {
    for (const double sign : {-1.0, 1.0}) outline.addExtreme(coordinate, sign, &cover);
  }
  return cover;
}

}  // namespace norv::internal
