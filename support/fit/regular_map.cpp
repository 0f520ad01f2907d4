#include "support/fit/regular_map.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "support/auto_diff.h"
#include "support/lens_distortion.h"

namespace norv::internal::fit {
namespace {

constexpr double kDegree = 3.14159265358979323846 / 180;

constexpr double kWeight = 300;  ///< pixels per unit of violation
constexpr double kSmallestDenominator = 0.10;
constexpr double kSmallestSlope = 0.20;
/// Below this denominator the slope means nothing, and only the denominator is mended.
constexpr double kPole = 0.02;
/// How far beyond the corner the map has to be regular, and up to which field angle at most.
constexpr double kMargin = 1.15;
constexpr double kWidestAngle = 80 * kDegree;
constexpr double kReachWithinMargin = 0.95;

constexpr int kTestedRadii = 256;
constexpr double kWidestTestedAngle = 85 * kDegree;

using Dual6 = autodiff::AutoDiff1<double, 6>;

template <class T>
std::array<T, 6> radialCoefficients(const FittedCamera& camera) {
  std::array<T, 6> k;
  for (int j = 0; j < 6; ++j) k[static_cast<std::size_t>(j)] = camera.intrinsics[kK1 + j];
  return k;
}

/// The radial map at the squared radius `q`, with T the type of the coefficients.
template <class T>
struct RadialMap {
  RadialMap(const std::array<T, 6>& k, double q)
      : numerator(1.0 + q * (k[0] + q * (k[1] + q * k[2]))),
        denominator(1.0 + q * (k[3] + q * (k[4] + q * k[5]))),
        numerator_slope(k[0] + q * (2.0 * k[1] + 3.0 * q * k[2])),
        denominator_slope(k[3] + q * (2.0 * k[4] + 3.0 * q * k[5])) {}

  T numerator;
  T denominator;
  T numerator_slope;  ///< by the squared radius
  T denominator_slope;

  T ratio() const { return numerator / denominator; }

  /// d(r_d)/d(theta) = (g + 2 q dg/dq) (1 + q), in focal lengths per radian.
  T slope(double q) const {
    const T g = ratio();
    const T g_slope = (numerator_slope - g * denominator_slope) / denominator;
    return (g + 2.0 * q * g_slope) * (1.0 + q);
  }

  /// Whether r_d rises at `q`, on the side of the pole where the image is.
  bool rises(double q) const {
    return denominator > kPole &&
           numerator * denominator +
                   2 * q * (numerator_slope * denominator - numerator * denominator_slope) >
               0;
  }
};

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
  const double last_angle = std::min(kMargin * fieldAngle(family, corner), kWidestAngle);
  for (int i = 0; i < kCount; ++i) {
    squared_radii_[static_cast<std::size_t>(i)] =
        std::pow(std::tan(last_angle * (i + 1) / kCount), 2);
  }
  reach_ = std::min(corner, kReachWithinMargin * imageRadius(family, last_angle));
}

template <class T, class Add>
void RegularityRows::forEachViolation(const std::array<T, 6>& k, const Add& add) const {
  for (const double q : squared_radii_) {
    const RadialMap<T> map(k, q);
    if (map.denominator < kSmallestDenominator) add(kSmallestDenominator - map.denominator);
    if (!(map.denominator > kPole)) continue;
    const T slope = map.slope(q);
    if (slope < kSmallestSlope) add(kSmallestSlope - slope);
  }
  const double last = squared_radii_.back();
  const RadialMap<T> map(k, last);
  if (!(map.denominator > kPole)) return;
  const T reached = std::sqrt(last) * map.ratio();
  if (reached < reach_) add(reach_ - reached);
}

double RegularityRows::cost(const FittedCamera& camera) const {
  double sum = 0;
  forEachViolation(radialCoefficients<double>(camera),
                   [&](double violation) { sum += std::pow(kWeight * violation, 2); });
  return sum;
}

void RegularityRows::addRows(const FittedCamera& camera, NormalEquations* equations) const {
  if (cost(camera) == 0) return;
  std::array<Dual6, 6> k = radialCoefficients<Dual6>(camera);
  for (std::size_t j = 0; j < k.size(); ++j) k[j].derivatives[j] = 1;
  forEachViolation(k, [&](const Dual6& violation) {
    const Eigen::Map<const Eigen::Matrix<double, 6, 1>> slopes(violation.derivatives.data());
    equations->matrix.block<6, 6>(kK1, kK1) += kWeight * kWeight * slopes * slopes.transpose();
    equations->gradient.segment<6>(kK1) += kWeight * kWeight * violation.value * slopes;
  });
}

std::optional<double> cornerRatio(const FittedCamera& camera, const Eigen::Vector2d& half_size) {
  const double corner = cornerRadius(camera, half_size);
  const std::array<double, 6> k = radialCoefficients<double>(camera);
  for (int i = 1; i <= kTestedRadii; ++i) {
    const double r = std::tan(kWidestTestedAngle * i / kTestedRadii);
    const RadialMap<double> map(k, r * r);
    if (!map.rises(r * r)) return std::nullopt;
    if (r * map.numerator >= corner * map.denominator) return map.ratio();
  }
  return std::nullopt;
}

}  // namespace norv::internal::fit
