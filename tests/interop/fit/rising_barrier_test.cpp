#include "interop/fit/rising_barrier.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "interop/fit/lens_problem.h"

namespace norv::interop {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(RisingBarrier, IsFiniteWhereTheLensRisesWithinTheUnitCircle) {
  const RisingBarrier barrier(1.5, {200, 1e-4});
  EXPECT_TRUE(std::isfinite(barrier.value({})));
  // r - r^3 / 3 has its fold at 1, and r - 0.33 r^3, with a slope of 0.01 there, a little beyond.
  EXPECT_TRUE(std::isfinite(barrier.value({-0.33, 0, 0, 0, 0, 0, 0, 0})));
  EXPECT_EQ(barrier.value({-0.34, 0, 0, 0, 0, 0, 0, 0}), kInfinity);
  // A pole at r^2 = 0.9.
  EXPECT_EQ(barrier.value({0, 0, 0, 0, 0, -1 / 0.9, 0, 0}), kInfinity);
  EXPECT_EQ(barrier.value({std::nan(""), 0, 0, 0, 0, 0, 0, 0}), kInfinity);
}

TEST(RisingBarrier, AsksForItsLeastSlope) {
  EXPECT_EQ(RisingBarrier(1.5, {200, 0.02}).value({-0.33, 0, 0, 0, 0, 0, 0, 0}), kInfinity);
}

TEST(RisingBarrier, IsTheSumOfItsLogarithms) {
  // One radius of each kind, 1, where D = 2 and D' = 1. N = 1 without a slope gives F = 2 - 2 = 0;
  // k1 = 1 gives N = 2, N' = 1, F = 4 + 2 (2 - 2) = 4, and F - D^2 / 4 = 3.
  const RisingBarrier barrier(1, {1, 0.25});
  EXPECT_EQ(barrier.value({0, 0, 0, 0, 0, 1, 0, 0}), kInfinity);
  EXPECT_NEAR(barrier.value({1, 0, 0, 0, 0, 1, 0, 0}), -2 * (std::log(2) + std::log(3)), 1e-14);
  EXPECT_EQ(barrier.rows(), 4U);
}

TEST(RisingBarrier, KnowsTheDerivativesByAnyOfTheCoefficients) {
  constexpr double kStep = 1e-6;
  const RisingBarrier barrier(2, {16, 0.1});
  LensCoefficients c;
  c << 0.3, 0.1, 0.01, 0.02, 0.02, 0.6, 0.2, 0.01;
  for (const std::vector<std::size_t>& free :
       {std::vector<std::size_t>{0, 1, 2, 3, 4, 5, 6, 7}, {0, 1, 4}, {5}}) {
    Eigen::MatrixXd derivatives(static_cast<Eigen::Index>(barrier.rows()),
                                static_cast<Eigen::Index>(free.size()));
    barrier.putDerivatives(lensOf(c), free, derivatives);
    for (std::size_t i = 0; i < free.size(); ++i) {
      const LensCoefficients step =
          kStep * LensCoefficients::Unit(static_cast<Eigen::Index>(free[i]));
      const double slope =
          (barrier.value(lensOf(c + step)) - barrier.value(lensOf(c - step))) / (2 * kStep);
      const double sum = -derivatives.col(static_cast<Eigen::Index>(i)).sum();
      // Differences lose half of the digits.
      EXPECT_NEAR(sum, slope, 1e-6) << free[i];
    }
  }
}

}  // namespace
}  // namespace norv::interop
