#include "support/lens_distortion.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>

#include "support/auto_diff.h"
#include "testing/lenses.h"
#include "testing/numeric_derivative.h"

namespace norv::calibration {
namespace {

using Dual = autodiff::AutoDiff1<double, 2>;
using Point = NormalizedPoint<double>;
using testing::kLenses;
using testing::NamedLens;

constexpr std::array<float, 8> kDistinct = {0.5F, 0.25F, 0.125F, 0.0625F, 2, 4, 8, 16};

TEST(LensDistortion, CoefficientsAreReadInStorageOrder) {
  const auto lens = lensFromCoefficients<double>(kDistinct.data(), 8);
  EXPECT_EQ(lens.k1, 0.5);
  EXPECT_EQ(lens.k2, 0.25);
  EXPECT_EQ(lens.p1, 0.125);
  EXPECT_EQ(lens.p2, 0.0625);
  EXPECT_EQ(lens.k3, 2);
  EXPECT_EQ(lens.k4, 4);
  EXPECT_EQ(lens.k5, 8);
  EXPECT_EQ(lens.k6, 16);
}

TEST(LensDistortion, MissingCoefficientsAreZeroAndFurtherOnesIgnored) {
  const auto none = lensFromCoefficients<float>(nullptr, 0);
  EXPECT_EQ(none.k1, 0);
  EXPECT_EQ(none.k6, 0);
  const auto five = lensFromCoefficients<double>(kDistinct.data(), 5);
  EXPECT_EQ(five.k3, 2);
  EXPECT_EQ(five.k4, 0);
  EXPECT_EQ(five.k5, 0);
  EXPECT_EQ(five.k6, 0);
  constexpr float kTwelve[12] = {0, 0, 0, 0, 0, 0, 0, 3, 7, 7, 7, 7};
  EXPECT_EQ(lensFromCoefficients<double>(kTwelve, 12).k6, 3);
}

TEST(LensDistortion, Polynomials) {
  const LensDistortion<double> lens{2, 3, 0, 0, 5, 7, 11, 13};
  EXPECT_EQ(lens.numerator(10.0), 1 + 20 + 300 + 5000);
  EXPECT_EQ(lens.denominator(10.0), 1 + 70 + 1100 + 13000);
}

TEST(LensDistortion, RadialTermsAndTheirSlopes) {
  const LensDistortion<double> lens{2, 3, 17, 19, 5, 7, 11, 13};
  const RadialTerms<double> at = lens.radial(10.0);
  EXPECT_EQ(at.numerator, 1 + 20 + 300 + 5000);
  EXPECT_EQ(at.denominator, 1 + 70 + 1100 + 13000);
  EXPECT_EQ(at.numerator_slope, 2 + 2 * 3 * 10 + 3 * 5 * 100);
  EXPECT_EQ(at.denominator_slope, 7 + 2 * 11 * 10 + 3 * 13 * 100);
}

TEST(LensDistortion, RadialTermsOfDualNumbers) {
  // By the squared radius: the slopes themselves.
  const LensDistortion<double> lens{2, 3, 0, 0, 5, 7, 11, 13};
  const RadialTerms<Dual> by_radius = lens.radial(Dual::variable(10, 0));
  EXPECT_EQ(by_radius.numerator.derivatives[0], by_radius.numerator_slope.value);
  EXPECT_EQ(by_radius.denominator.derivatives[0], by_radius.denominator_slope.value);
  // By a coefficient: the powers of the squared radius, and their slopes.
  LensDistortion<Dual> dual;
  dual.k3 = Dual::variable(5, 0);
  const RadialTerms<Dual> by_coefficient = dual.radial(10.0);
  EXPECT_EQ(by_coefficient.numerator.derivatives[0], 1000);
  EXPECT_EQ(by_coefficient.numerator_slope.derivatives[0], 300);
  EXPECT_EQ(by_coefficient.denominator.derivatives[0], 0);
}

TEST(LensDistortion, CoefficientsInStorageOrder) {
  const LensDistortion<float> lens{1, 2, 3, 4, 5, 6, 7, 8};
  const std::array<float, 8> coefficients = lens.toCoefficients();
  EXPECT_THAT(coefficients, ::testing::ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
  EXPECT_EQ(lens.p1, 3);
  EXPECT_EQ(lens.k3, 5);
  EXPECT_EQ(lensFromCoefficients<float>(coefficients.data(), 8).toCoefficients(), coefficients);
}

TEST(LensDistortion, ByHand) {
  // At (1, 2), s = 5: N = 1 + 0.5 + 0.25 + 0.125 and D = 1 + 1 + 0.5 + 0.25, N / D = 15 / 22.
  const LensDistortion<double> lens{0.1, 0.01, 0.01, 0.02, 0.001, 0.2, 0.02, 0.002};
  const Point p = lens.distort(Point{1, 2});
  EXPECT_NEAR(p.x, 15.0 / 22 + 2 * 0.01 * 2 + 0.02 * (5 + 2), 1e-15);
  EXPECT_NEAR(p.y, 2 * 15.0 / 22 + 0.01 * (5 + 8) + 2 * 0.02 * 2, 1e-15);
}

TEST(LensDistortion, WithoutCoefficientsPointsStay) {
  const NormalizedPoint<float> p = LensDistortion<float>{}.distort(NormalizedPoint<float>{3, -7});
  EXPECT_EQ(p.x, 3);
  EXPECT_EQ(p.y, -7);
}

TEST(LensDistortion, CentreStays) {
  for (const NamedLens& lens : kLenses) {
    const Point p = lens.lens().distort(Point{0, 0});
    EXPECT_EQ(p.x, 0) << lens;
    EXPECT_EQ(p.y, 0) << lens;
  }
}

TEST(LensDistortion, VanishingDenominatorHasNoFiniteImage) {
  const LensDistortion<double> lens{0, 0, 0, 0, 0, -1, 0, 0};
  const Point p = lens.distort(Point{1, 0});
  EXPECT_EQ(p.x, std::numeric_limits<double>::infinity());
  EXPECT_TRUE(std::isnan(p.y));
}

TEST(LensDistortion, DualNumbersCarryTheJacobian) {
  for (const NamedLens& named : kLenses) {
    const LensDistortion<double> lens = named.lens();
    for (int i = 0; i < 24; ++i) {
      const double r = 0.9 * named.radius * (i + 1) / 24;
      const Point p{r * std::cos(1.7 * i), r * std::sin(1.7 * i)};
      const NormalizedPoint<Dual> dual =
          lens.distort(NormalizedPoint<Dual>{Dual::variable(p.x, 0), Dual::variable(p.y, 1)});
      const Point value = lens.distort(p);
      EXPECT_EQ(dual.x.value, value.x) << named;
      EXPECT_EQ(dual.y.value, value.y) << named;

      const auto along_x = [&](auto coordinate) {
        return testing::numericDerivative(
            [&](double x) {
              return coordinate(lens.distort(Point{x, p.y}));
            },
            p.x);
      };
      const auto along_y = [&](auto coordinate) {
        return testing::numericDerivative(
            [&](double y) {
              return coordinate(lens.distort(Point{p.x, y}));
            },
            p.y);
      };
      const auto x = [](const Point& q) { return q.x; };
      const auto y = [](const Point& q) { return q.y; };
      const double scale = 1 + std::abs(dual.x.derivatives[0]) + std::abs(dual.y.derivatives[1]);
      // Measured: 3e-9, next to the pole.
      EXPECT_NEAR(dual.x.derivatives[0], along_x(x), 1e-8 * scale) << named;
      EXPECT_NEAR(dual.x.derivatives[1], along_y(x), 1e-8 * scale) << named;
      EXPECT_NEAR(dual.y.derivatives[0], along_x(y), 1e-8 * scale) << named;
      EXPECT_NEAR(dual.y.derivatives[1], along_y(y), 1e-8 * scale) << named;
      // The map is a gradient. Measured: 2.8e-16.
      EXPECT_NEAR(dual.x.derivatives[1], dual.y.derivatives[0], 1e-15 * scale) << named;
    }
  }
}

}  // namespace
}  // namespace norv::calibration
