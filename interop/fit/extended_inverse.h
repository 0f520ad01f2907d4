#pragma once

#include <Eigen/Core>
#include <optional>

#include "interop/extended_lens.h"

namespace norv::interop {

/// The inverse of an extended lens, by Newton's iteration from the inverse of its rational part.
/// Thread-safe.
class ExtendedInverse {
 public:
  using Point = calibration::NormalizedPoint<double>;

  explicit ExtendedInverse(const ExtendedLens& lens);

  /// The undistorted point that the lens puts at `target`, with a residual below 1e-13 of its
  /// distance from the centre, or of 1; none where the iteration finds none within the rising part
  /// of the radial map.
  std::optional<Point> undistort(const Point& target) const;

  /// The radius, in the undistorted plane, up to which the radial map rises.
  double largestRadius() const { return largest_radius_; }

 private:
  /// The point of the upright sensor; none where the sensor is seen edge-on or from behind.
  std::optional<Point> untilted(const Point& target) const;

  ExtendedLens upright_;  ///< without its tilt
  Eigen::Matrix3d tilt_;
  Eigen::Matrix3d from_tilted_;
  double largest_radius_;
};

}  // namespace norv::interop
