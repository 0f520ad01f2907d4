#pragma once

#include <Eigen/Core>

#include "support/numeric/value_and_slope.h"
#include "support/sensor/lens_curve.h"

namespace norv::internal {

/// Turns the picture of a lens into that of a pinhole camera, in double and in pixels.
///
/// A point at the distance r from the centre moves along its ray to
///
///     r' = factor * f0 * tan(theta(r)),
///
/// theta being the lens' field angle and f0 = 1 / theta'(0) its paraxial focal length, so that
/// `factor` is the magnification at the centre. Beyond the curve's last radius r' goes on as a
/// straight line with the slope that it has there: the map is increasing and continuously
/// differentiable everywhere, and no angle beyond the curve's is ever formed. Immutable and
/// thread-safe; nothing is allocated after construction.
class SensorWarp {
 public:
  /// `factor` is finite and positive.
  SensorWarp(const Eigen::Vector2d& centre, double factor, LensCurve curve);

  /// From the lens' picture to the pinhole's. NaN in both components where one of `p` is not
  /// finite.
  Eigen::Vector2d warp(const Eigen::Vector2d& p) const;

  /// The inverse of `warp`, with the same answer to points that are not finite.
  Eigen::Vector2d unwarp(const Eigen::Vector2d& p) const;

  /// r' at the distance r >= 0, and its slope.
  ValueAndSlope warpedRadius(double r) const;

  /// The inverse, for r' >= 0: the distance r, as closely as double precision determines it.
  double unwarpedRadius(double warped) const;

 private:
  ValueAndSlope insideCurve(double r) const;
  double invertInsideCurve(double warped) const;

  Eigen::Vector2d centre_;
  double factor_;
  LensCurve curve_;
  double focal_length_;  ///< of the pinhole image: factor * f0
  ValueAndSlope end_;    ///< r' and its slope at the curve's last radius
};

}  // namespace norv::internal
