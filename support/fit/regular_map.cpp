#include "support/fit/regular_map.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "support/auto_diff.h"
#include "support/lens_distortion.h"
#include "support/numeric/angles.h"

namespace norv::internal::fit {
namespace {

constexpr double kWeight = 300;  ///< pixels per unit of violation
constexpr double kMinDenominator = 0.10;
constexpr double kMinSlope = 0.20;
/// Below this denominator the slope means nothing, and only the denominator is mended.
constexpr double kPole = 0.02;
/// How far beyond the corner the map has to be regular, and up to which field angle at most.
constexpr double kMargin = 1.15;
constexpr double kMaxAngle = radians(80);
constexpr double kReachWithinMargin = 0.95;

constexpr int kTestedRadii = 256;
constexpr double kMaxTestedAngle = radians(85);

using calibration::RadialTerms;
using Dual6 = autodiff::AutoDiff1<double, 6>;

using Lens = calibration::LensDistortion<double>;
using LensWithSlopes = calibration::LensDistortion<Dual6>;

/// The lens with the derivatives by its radial coefficients k1..k6.
LensWithSlopes withSlopes(const Lens& lens) {
  return {Dual6::variable(lens.k1, 0),
          Dual6::variable(lens.k2, 1),
          lens.p1,
          lens.p2,
          Dual6::variable(lens.k3, 2),
          Dual6::variable(lens.k4, 3),
          Dual6::variable(lens.k5, 4),
          Dual6::variable(lens.k6, 5)};
}

/// The radial factor g.
template <class T>
T ratio(const RadialTerms<T>& at) {
  return at.numerator / at.denominator;
}

/// d(r_d)/d(theta) = (g + 2 q dg/dq) (1 + q), in focal lengths per radian.
template <class T>
T slope(const RadialTerms<T>& at, double q) {
  const T g = ratio(at);
  const T g_slope = (at.numerator_slope - g * at.denominator_slope) / at.denominator;
  return (g + 2.0 * q * g_slope) * (1.0 + q);
}

/// Whether r_d rises at the squared radius `q`, on the side of the pole where the image is.
bool rises(const RadialTerms<double>& at, double q) {
  return at.denominator > kPole &&
         at.numerator * at.denominator +
                 2 * q *
                     (at.numerator_slope * at.denominator - at.numerator * at.denominator_slope) >
             0;
}

}  // namespace

double cornerRadius(const FittedCamera& camera, const Eigen::Vector2d& half_size) {
  const Eigen::Array2d f = camera.intrinsics.segment<2>(kFx);
  const Eigen::Array2d c = camera.intrinsics.segment<2>(kCx);
  // The farthest of the four: on each axis the side away from the principal point.
  return ((half_size.array() + c.abs()) / f).matrix().norm();
}

RegularityRows::RegularityRows(const FittedCamera& camera, const LensFamily& family,
                               const Eigen::Vector2d& half_size) {
  const double corner = cornerRadius(camera, half_size);
  const double last_angle = std::min(kMargin * fieldAngle(family, corner), kMaxAngle);
  for (int i = 0; i < kCount; ++i) {
    squared_radii_[static_cast<std::size_t>(i)] =
        std::pow(std::tan(last_angle * (i + 1) / kCount), 2);
  }
  reach_ = std::min(corner, kReachWithinMargin * imageRadius(family, last_angle));
}

template <class T, class Add>
void RegularityRows::forEachViolation(const calibration::LensDistortion<T>& lens,
                                      const Add& add) const {
  for (const double q : squared_radii_) {
    const RadialTerms<T> at = lens.radial(q);
    if (at.denominator < kMinDenominator) add(kMinDenominator - at.denominator);
    if (!(at.denominator > kPole)) continue;
    const T rise = slope(at, q);
    if (rise < kMinSlope) add(kMinSlope - rise);
  }
  const double last = squared_radii_.back();
  const RadialTerms<T> at = lens.radial(last);
  if (!(at.denominator > kPole)) return;
  const T reached = std::sqrt(last) * ratio(at);
  if (reached < reach_) add(reach_ - reached);
}

double RegularityRows::cost(const FittedCamera& camera) const {
  double sum = 0;
  forEachViolation(camera.lens(),
                   [&](double violation) { sum += std::pow(kWeight * violation, 2); });
  return sum;
}

void RegularityRows::addRows(const FittedCamera& camera, NormalEquations* equations) const {
  if (cost(camera) == 0) return;
  forEachViolation(withSlopes(camera.lens()), [&](const Dual6& violation) {
    const Eigen::Map<const Eigen::Matrix<double, 6, 1>> slopes(violation.derivatives.data());
    equations->matrix.block<6, 6>(kK1, kK1) += kWeight * kWeight * slopes * slopes.transpose();
    equations->gradient.segment<6>(kK1) += kWeight * kWeight * violation.value * slopes;
  });
}

std::optional<double> cornerRatio(const FittedCamera& camera, const Eigen::Vector2d& half_size) {
  const double corner = cornerRadius(camera, half_size);
  const Lens lens = camera.lens();
  for (int i = 1; i <= kTestedRadii; ++i) {
    const double r = std::tan(kMaxTestedAngle * i / kTestedRadii);
    const RadialTerms<double> at = lens.radial(r * r);
    if (!rises(at, r * r)) return std::nullopt;
    if (r * at.numerator >= corner * at.denominator) return ratio(at);
  }
  return std::nullopt;
}

}  // namespace norv::internal::fit
