#include "support/trigonometric_equation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace norv {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kEps = 1e-5;

std::vector<double> solve(double a, double b, double c, double eps = kEps) {
  double solutions[2] = {-77, -77};
  const int count = solveAsinBcosCeqn(a, b, c, solutions, eps);
  // What is not a solution stays as it was.
  for (int i = count; i == 0; ++i) EXPECT_EQ(solutions[i], -77);
  return std::vector<double>(solutions, solutions + count);
}

TEST(TrigonometricEquation, TwoRootsTheRisingOneFirst) {
  // sin x = 1/2 at 30 and 150 degrees; the sine rises at the first.
  const std::vector<double> x = solve(1, 0, -0.5);
  ASSERT_EQ(x.size(), 2U);
  EXPECT_NEAR(x[0], kPi / 6, 1e-15);
  EXPECT_NEAR(x[1], 5 * kPi / 6, 1e-15);
  // cos x = 1/2 at +-60 degrees; it rises at the negative one.
  const std::vector<double> y = solve(0, 1, -0.5);
  ASSERT_EQ(y.size(), 2U);
  EXPECT_NEAR(y[0], -kPi / 3, 1e-15);
  EXPECT_NEAR(y[1], kPi / 3, 1e-15);
}

TEST(TrigonometricEquation, AnglesLieInHalfOpenPeriod) {
  // cos x = -1: the angle is pi, not -pi.
  const std::vector<double> x = solve(0, 1, 1);
  ASSERT_EQ(x.size(), 1U);
  EXPECT_EQ(x[0], kPi);
  // sin x = 0 falling at pi.
  const std::vector<double> y = solve(1, 0, 0);
  ASSERT_EQ(y.size(), 2U);
  EXPECT_EQ(y[0], 0);
  EXPECT_EQ(y[1], kPi);
  // A downward angle is reported as negative.
  EXPECT_NEAR(solve(1, 0, 0.5)[0], -kPi / 6, 1e-15);
}

TEST(TrigonometricEquation, NoRootBeyondTheCurve) {
  EXPECT_TRUE(solve(1, 0, 1.1).empty());
  EXPECT_TRUE(solve(0, 1, -1.1).empty());
  EXPECT_TRUE(solve(3, 4, 5.001).empty());
}

TEST(TrigonometricEquation, MissesWithinTheToleranceTouch) {
  EXPECT_EQ(solve(1, 0, -(1 + 0.9e-5)), std::vector<double>{kPi / 2});
  EXPECT_TRUE(solve(1, 0, -(1 + 1.1e-5)).empty());
  // The tolerance is relative to the amplitude.
  EXPECT_EQ(solve(1000, 0, -1000 * (1 + 0.9e-5)), std::vector<double>{kPi / 2});
}

TEST(TrigonometricEquation, RootsMergeOnlyWithinTheToleranceAsAngles) {
  // cos x = cos w: the roots are 2 w apart.
  EXPECT_EQ(solve(0, 1, -std::cos(0.4e-5)).size(), 1U);
  EXPECT_NEAR(solve(0, 1, -std::cos(0.4e-5))[0], -0.4e-5, 1e-10);
  EXPECT_EQ(solve(0, 1, -std::cos(0.6e-5)).size(), 2U);
  // A discriminant 1 - cos^2 below the tolerance is no reason to merge.
  EXPECT_EQ(solve(0, 1, -std::cos(1e-3)).size(), 2U);
  // The same across the end of the period, at pi.
  EXPECT_EQ(solve(0, 1, std::cos(0.4e-5)).size(), 1U);
  EXPECT_EQ(solve(0, 1, std::cos(0.6e-5)).size(), 2U);
}

TEST(TrigonometricEquation, WithoutAmplitudeZeroStandsForEveryAngle) {
  EXPECT_EQ(solve(0, 0, 0), std::vector<double>{0});
  EXPECT_EQ(solve(0.6e-5, 0.8e-5, 1e-5), std::vector<double>{0});
  EXPECT_TRUE(solve(0, 0, 1.1e-5).empty());
  EXPECT_TRUE(solve(1e-6, 0, -1).empty());
  // Just above the tolerance the equation counts: 1.1e-5 sin x = 1.1e-5.
  EXPECT_EQ(solve(1.1e-5, 0, -1.1e-5), std::vector<double>{kPi / 2});
}

TEST(TrigonometricEquation, NothingIsSolvedWithoutFiniteCoefficients) {
  for (const double bad : {std::nan(""), std::numeric_limits<double>::infinity(),
                           -std::numeric_limits<double>::infinity()}) {
    EXPECT_TRUE(solve(bad, 1, 0).empty());
    EXPECT_TRUE(solve(1, bad, 0).empty());
    EXPECT_TRUE(solve(1, 1, bad).empty());
  }
}

TEST(TrigonometricEquation, NothingIsSolvedBeyondTheRangeOfDouble) {
  EXPECT_TRUE(solve(1.5e308, 1.5e308, 1e308).empty());
}

TEST(TrigonometricEquation, RandomEquations) {
  std::mt19937_64 random(31);
  std::uniform_real_distribution<double> coefficient(-2, 2);
  int solved = 0;
  for (int trial = 0; trial < 20000; ++trial) {
    const double a = coefficient(random);
    const double b = coefficient(random);
    const double c = coefficient(random);
    const std::vector<double> x = solve(a, b, c);
    EXPECT_EQ(x.empty(), std::abs(c) > std::hypot(a, b) * (1 + kEps));
    for (const double angle : x) {
      ++solved;
      EXPECT_GT(angle, -kPi);
      EXPECT_LE(angle, kPi);
      // Measured: 2.2e-15, unless the curve only touches zero within the tolerance.
      EXPECT_NEAR(a * std::sin(angle) + b * std::cos(angle) + c, 0,
                  std::abs(c) > std::hypot(a, b) ? 3e-5 : 1e-14);
    }
    if (x.size() == 2) {
      EXPECT_GE(a * std::cos(x[0]) - b * std::sin(x[0]), 0);
      EXPECT_LE(a * std::cos(x[1]) - b * std::sin(x[1]), 0);
    }
  }
  EXPECT_GT(solved, 20000);
}

}  // namespace
}  // namespace norv
