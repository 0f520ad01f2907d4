#pragma once

#include <Eigen/Core>
#include <cmath>

namespace norv::internal {

/// How the cover changes with a step of a motor, around a position: pixels.
struct CoverSlopes {
  int pan;
  int tilt;
  double focal_length;
  Eigen::Vector2d low_by_pan;
  Eigen::Vector2d high_by_pan;
  Eigen::Vector2d low_by_tilt;
  Eigen::Vector2d high_by_tilt;

  /// Whether the middle moves in nearly the same direction with either motor.
  bool areOblique() const {
    const Eigen::Vector2d by_pan = low_by_pan + high_by_pan;
    const Eigen::Vector2d by_tilt = low_by_tilt + high_by_tilt;
    const double area = by_pan.x() * by_tilt.y() - by_pan.y() * by_tilt.x();
    return !(std::abs(area) > 0.5 * by_pan.norm() * by_tilt.norm());
  }

  /// How far the middle of the cover can be from where it is for the exact position, with the best
  /// and the worst of the four whole steps around that.
  double farthest() const {
    return 0.5 * (low_by_pan + high_by_pan).norm() + 0.5 * (low_by_tilt + high_by_tilt).norm();
  }
};

}  // namespace norv::internal
