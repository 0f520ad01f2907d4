#include "support/sensor/sensor_warp.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "support/numeric/bracketed_newton.h"

namespace norv::internal {
namespace {

/// Moves `p` along its ray from `centre` to the distance that `radius_of` gives for its own.
template <class RadiusOf>
Eigen::Vector2d moveAlongRay(const Eigen::Vector2d& p, const Eigen::Vector2d& centre,
                             const RadiusOf& radius_of) {
  if (!p.allFinite()) return Eigen::Vector2d::Constant(std::numeric_limits<double>::quiet_NaN());
  const Eigen::Vector2d ray = p - centre;
  const double r = std::hypot(ray.x(), ray.y());
  if (r == 0) return centre;
  return centre + ray * (radius_of(r) / r);
}

}  // namespace

SensorWarp::SensorWarp(const Eigen::Vector2d& centre, double factor, LensCurve curve)
    : centre_(centre),
      factor_(factor),
      curve_(std::move(curve)),
      focal_length_(factor / curve_.at(0).slope),
      end_(insideCurve(curve_.lastRadius())) {}

Eigen::Vector2d SensorWarp::warp(const Eigen::Vector2d& p) const {
  return moveAlongRay(p, centre_, [this](double r) { return warpedRadius(r).value; });
}

Eigen::Vector2d SensorWarp::unwarp(const Eigen::Vector2d& p) const {
  return moveAlongRay(p, centre_, [this](double r) { return unwarpedRadius(r); });
}

ValueAndSlope SensorWarp::warpedRadius(double r) const {
  const double beyond = r - curve_.lastRadius();
  if (beyond > 0) return {end_.value + end_.slope * beyond, end_.slope};
  return insideCurve(r);
}

double SensorWarp::unwarpedRadius(double warped) const {
  const double beyond = warped - end_.value;
  if (beyond >= 0) return curve_.lastRadius() + beyond / end_.slope;
  return invertInsideCurve(warped);
}

ValueAndSlope SensorWarp::insideCurve(double r) const {
  const ValueAndSlope theta = curve_.at(r);
  const double tangent = std::tan(theta.value);
  return {focal_length_ * tangent, focal_length_ * (1 + tangent * tangent) * theta.slope};
}

double SensorWarp::invertInsideCurve(double warped) const {
  const auto excess = [this, warped](double r) {
    const ValueAndSlope at = insideCurve(r);
    return ValueAndSlope{at.value - warped, at.slope};
  };
  const double last = curve_.lastRadius();
  return bracketedNewton(excess, 0, last, std::min(warped / factor_, last));
}

}  // namespace norv::internal
