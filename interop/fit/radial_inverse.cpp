#include "interop/fit/radial_inverse.h"

#include <cmath>
#include <limits>

namespace norv::interop {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kRoundings = 4 * std::numeric_limits<double>::epsilon();

/// Any bracket is halved down to neighbours in less.
constexpr int kMaxSteps = 200;

/// Difference of angles by which the first slope is measured.
constexpr double kFirstStep = 1e-4;

}  // namespace

RadialInverse::RadialInverse(const RadialMap& map)
    : map_(map), end_(largestAngle(map)), largest_radius_(radius(end_)) {}

double RadialInverse::radius(double theta) const {
  const double r = radiusAt(map_, theta);
  if (std::isfinite(r) && r >= 0) return r;
  return kInfinity;
}

std::optional<double> RadialInverse::angleAt(double target) {
  if (!(target <= largest_radius_) || end_ <= 0) return std::nullopt;
  double below = 0;
  double above = end_;
  double before = last_angle_ > kFirstStep ? last_angle_ - kFirstStep : last_angle_ + kFirstStep;
  double before_excess = radius(before) - target;
  double theta = last_angle_;
  for (int i = 0; i < kMaxSteps; ++i) {
    const double excess = radius(theta) - target;
    (excess < 0 ? below : above) = theta;
    double next = theta - excess * (theta - before) / (excess - before_excess);
    if (excess == 0 || above - below <= kRoundings * above) break;
    if (std::abs(next - theta) <= kRoundings * theta) break;
    if (!(next > below && next < above)) next = below + (above - below) / 2;
    before = theta;
    before_excess = excess;
    theta = next;
  }
  return last_angle_ = theta;
}

}  // namespace norv::interop
