#include "interop/fit/rising_barrier.h"

#include <array>
#include <cmath>
#include <limits>

namespace norv::interop {
namespace {

using calibration::LensDistortion;
using Terms = calibration::RadialTerms<double>;

/// Powers of s that coefficients of the numerator and of the denominator have, in storage order;
/// 0 for the tangential ones.
constexpr std::array<int, 8> kPowers = {1, 2, 0, 0, 3, 1, 2, 3};
constexpr std::size_t kFirstOfDenominator = 5;

/// F - least D^2.
double foldTerm(const Terms& t, double s, double least) {
  return t.denominator * t.numerator +
         2 * s * (t.numerator_slope * t.denominator - t.numerator * t.denominator_slope) -
         least * t.denominator * t.denominator;
}

/// Its derivative by the coefficient of s^j of the numerator, and of the denominator.
double foldByNumerator(const Terms& t, double s, int j) {
  return std::pow(s, j) * ((1 + 2 * j) * t.denominator - 2 * s * t.denominator_slope);
}
double foldByDenominator(const Terms& t, double s, int j, double least) {
  return std::pow(s, j) *
         ((1 - 2 * j) * t.numerator + 2 * s * t.numerator_slope - 2 * least * t.denominator);
}

}  // namespace

RisingBarrier::RisingBarrier(double unit, const Care& care) : least_slope_(care.least_slope) {
  const double angle = std::atan(unit);
  for (std::size_t i = 1; i <= care.radii; ++i) {
    const double share = static_cast<double>(i) / static_cast<double>(care.radii);
    const double r = std::tan(share * angle) / unit;
    squared_radii_.push_back(r * r);
    squared_radii_.push_back(share * share);
  }
}

double RisingBarrier::value(const LensDistortion<double>& lens) const {
  double sum = 0;
  for (const double s : squared_radii_) {
    const Terms t = lens.radial(s);
    const double fold = foldTerm(t, s, least_slope_);
    if (!(t.denominator > 0 && fold > 0)) return std::numeric_limits<double>::infinity();
    sum -= std::log(t.denominator) + std::log(fold);
  }
  return sum;
}

void RisingBarrier::putDerivatives(const LensDistortion<double>& lens,
                                   const std::vector<std::size_t>& free,
                                   Eigen::Ref<Eigen::MatrixXd> derivatives) const {
  derivatives.setZero();
  Eigen::Index row = 0;
  for (const double s : squared_radii_) {
    const Terms t = lens.radial(s);
    const double fold = foldTerm(t, s, least_slope_);
    for (std::size_t i = 0; i < free.size(); ++i) {
      const auto column = static_cast<Eigen::Index>(i);
      const int power = kPowers[free[i]];
      if (power == 0) continue;
      const bool is_below = free[i] >= kFirstOfDenominator;
      if (is_below) derivatives(row, column) = std::pow(s, power) / t.denominator;
      derivatives(row + 1, column) =
          (is_below ? foldByDenominator(t, s, power, least_slope_) : foldByNumerator(t, s, power)) /
          fold;
    }
    row += 2;
  }
}

}  // namespace norv::interop
