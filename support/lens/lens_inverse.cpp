#include "support/lens/lens_inverse.h"

#include <algorithm>
#include <array>
#include <limits>

#include "support/numeric/bracketed_newton.h"

namespace norv::internal {
namespace {

using calibration::RadialTerms;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

bool allFinite(const calibration::LensDistortion<double>& l,
               const calibration::NormalizedPoint<double>& p) {
  const std::array<double, 8> all = l.toCoefficients();
  return std::isfinite(p.x) && std::isfinite(p.y) &&
         std::all_of(all.begin(), all.end(), [](double c) { return std::isfinite(c); });
}

}  // namespace

LensInverse::Point LensInverse::search(const Point& target) {
  if (!allFinite(lens_, target)) return {kNaN, kNaN};
  const double distorted_radius = std::hypot(target.x, target.y);
  if (beyondReach(distorted_radius)) return {kNaN, kNaN};
  const double scale = undistortedRadius(distorted_radius) / distorted_radius;
  Point p = {scale * target.x, scale * target.y};
  if (tangential_ > 0) p = dampedNewton(p, target);
  return isAnswer(p, target) ? p : Point{kNaN, kNaN};
}

bool LensInverse::beyondReach(double distorted_radius) {
  const double s = branch_.end();
  if (!std::isfinite(s)) return false;
  const double radial = distorted_radius - 3 * tangential_ * s;
  // Both sides times the denominator, which vanishes where the branch ends in a pole.
  return std::sqrt(s) * lens_.numerator(s) < radial * lens_.denominator(s);
}

double LensInverse::undistortedRadius(double distorted_radius) {
  // D (r_d(r) - distorted_radius), which changes sign at the solution and has no pole.
  const auto excess = [this, distorted_radius](double r) {
    const RadialTerms at = lens_.radial(r * r);
    const double rise = r * at.numerator_slope - distorted_radius * at.denominator_slope;
    return ValueAndSlope{r * at.numerator - distorted_radius * at.denominator,
                         at.numerator + 2 * r * rise};
  };
  double end = std::sqrt(branch_.end());
  if (!std::isfinite(end)) {
    // A radial map that rises for ever is unbounded. Answers are in single precision, below 3.5e38.
    end = std::max(1.0, 2 * distorted_radius);
    while (end < 1e39 && excess(end).value < 0) end *= 2;
  }
  return excess(end).value > 0 ? bracketedNewton(excess, 0, end, 0.5 * end) : end;
}

LensInverse::Point LensInverse::dampedNewton(Point p, const Point& target) const {
  constexpr double kSufficientDecrease = 1e-4;
  constexpr double kMinFraction = 1e-6;
  const double bound = NewtonStart::errorBound(target);
  // Where numbers overflow at the centre or in the start, no way between the two becomes regular.
  if (!Step(lens_, {0, 0}, target).regular() || !std::isfinite(p.x) || !std::isfinite(p.y)) {
    return {kNaN, kNaN};
  }
  Step at(lens_, p, target);
  while (!at.regular()) {
    p = {0.75 * p.x, 0.75 * p.y};
    at = Step(lens_, p, target);
  }
  double t = 1;
  for (int i = 0; i < 200 && t > kMinFraction && !at.closerThan(bound); ++i) {
    const Point trial = at.next(t);
    const Step there(lens_, trial, target);
    if (there.regular() && there.error() < (1 - kSufficientDecrease * t) * at.error()) {
      p = trial;
      at = there;
      t = 1;
    } else {
      t *= 0.5;
    }
  }
  return p;
}

bool LensInverse::isAnswer(const Point& p, const Point& target) {
  const Step at(lens_, p, target);
  return at.closerThan(NewtonStart::errorBound(target)) && isOnFirstBranch(at, p);
}

bool LensInverse::isOnFirstBranch(const Step& at, const Point& p) {
  if (!at.regular()) return false;
  if (surelyInside(at.squaredRadius())) return true;
  return at.squaredRadius() < branch_.end() && (tangential_ == 0 || regularUpTo(p));
}

bool LensInverse::isOnFirstBranch(const Point& p) {
  return allFinite(lens_, p) && isOnFirstBranch(Step(lens_, p, {0, 0}), p);
}

bool LensInverse::contains(const Point& p) {
  const double s = p.x * p.x + p.y * p.y;
  if (tangential_ == 0) return surelyInside(s) || s < branch_.end() || neverEnds();
  return isOnFirstBranch(p);
}

bool LensInverse::regularUpTo(const Point& p) const {
  constexpr int kSamples = 64;
  const auto at = [&](double i) {
    const double t = i / kSamples;
    return Step(lens_, {t * p.x, t * p.y}, {0, 0});
  };
  double before_last = 1;
  double last = 1;
  for (int i = 1; i <= kSamples; ++i) {
    const Step here = at(i);
    if (!here.regular()) return false;
    const double determinant = here.determinant();
    if (last < before_last && last <= determinant) {
      const double curvature = before_last - 2 * last + determinant;
      if (!at(i - 1 + 0.5 * (before_last - determinant) / curvature).regular()) return false;
    }
    before_last = last;
    last = determinant;
  }
  return true;
}

}  // namespace norv::internal
