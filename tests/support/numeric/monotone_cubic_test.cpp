#include "support/numeric/monotone_cubic.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <random>
#include <vector>

#include "testing/numeric_derivative.h"

namespace norv::internal {
namespace {

TEST(MonotoneCubic, PassesThroughItsPoints) {
  const std::vector<double> x = {-1, 0, 3, 3.5, 10};
  const std::vector<double> y = {2, 4, 4.5, 9, 9.25};
  const MonotoneCubic cubic(x, y);
  for (std::size_t i = 0; i < x.size(); ++i) {
    EXPECT_NEAR(cubic.at(x[i]).value, y[i], 1e-15) << i;  // measured 0
  }
}

TEST(MonotoneCubic, ReproducesAStraightLine) {
  const MonotoneCubic cubic({0, 1, 4, 6}, {1, 3, 9, 13});
  for (double x = 0; x <= 6; x += 0.125) {
    EXPECT_DOUBLE_EQ(cubic.at(x).value, 1 + 2 * x);
    EXPECT_DOUBLE_EQ(cubic.at(x).slope, 2);
  }
}

TEST(MonotoneCubic, SlopesAreWeightedHarmonicMeans) {
  // Chords of slope 1 and 1/2 over widths 1 and 2. In the middle the harmonic mean with weights
  // 2 * 2 + 1 and 2 + 2 * 1; at the end the parabola's (5 / 2 - 2 * 1) / 3.
  const double middle = 9 / (5 / 1.0 + 4 / 0.5);
  const double end = 1.0 / 6;
  const MonotoneCubic cubic({0, 1, 3}, {0, 1, 2});
  EXPECT_DOUBLE_EQ(cubic.at(0).slope, 1);
  EXPECT_DOUBLE_EQ(cubic.at(1).slope, middle);
  EXPECT_NEAR(cubic.at(3).slope, end, 1e-15);  // measured 1.4e-16
  // Half-way through a Hermite cubic.
  EXPECT_DOUBLE_EQ(cubic.at(2).value, 1.5 + 2 * (middle - end) / 8);
  EXPECT_DOUBLE_EQ(cubic.at(2).slope, 1.5 * 0.5 - (middle + end) / 4);
}

TEST(MonotoneCubic, EndSlopeIsTheParabolasUnlessThatIsFlat) {
  // With widths 1 and 9, (19 * 1 - 9 * 0.1) / 10.
  EXPECT_DOUBLE_EQ(MonotoneCubic({0, 1, 10}, {0, 0.1, 9.1}).at(10).slope, 1.81);
  // (3 * 0.1 - 1) / 2 falls.
  EXPECT_DOUBLE_EQ(MonotoneCubic({0, 1, 2}, {0, 1, 1.1}).at(2).slope, 0.1 * (1.1 - 1.0));
}

TEST(MonotoneCubic, SlopeIsTheDerivativeAndContinuous) {
  const std::vector<double> x = {0, 1, 1.5, 4, 5};
  const MonotoneCubic cubic(x, {0, 0.5, 2, 2.5, 6});
  const auto value = [&cubic](double at) { return cubic.at(at).value; };
  for (double at = 0.0625; at < 5; at += 0.125) {
    // Measured 1.9e-9, the differences' own.
    EXPECT_NEAR(cubic.at(at).slope, testing::numericDerivative(value, at), 4e-9) << at;
  }
  for (std::size_t i = 1; i + 1 < x.size(); ++i) {
    EXPECT_NEAR(cubic.at(x[i]).slope, cubic.at(std::nextafter(x[i], 0)).slope, 1e-14)
        << i;  // measured 3e-15
  }
}

TEST(MonotoneCubic, FollowsASmoothFunction) {
  std::vector<double> x;
  std::vector<double> y;
  for (int i = 0; i <= 100; ++i) {
    x.push_back(0.01 * i);
    y.push_back(std::sin(x.back()));
  }
  const MonotoneCubic cubic(x, y);
  for (double at = 0; at <= 1; at += 0.0007) {
    EXPECT_NEAR(cubic.at(at).value, std::sin(at), 1e-7) << at;  // measured 8e-8
  }
}

TEST(MonotoneCubic, RandomPointsThatRiseAreJoinedByACurveThatRises) {
  std::mt19937_64 random(7);
  std::uniform_real_distribution<double> exponent(-6, 6);
  std::uniform_int_distribution<int> count(3, 12);
  const auto increment = [&] { return std::pow(10, exponent(random)); };
  double largest_fall = 0;
  double steepest_fall = 0;
  for (int trial = 0; trial < 2000; ++trial) {
    std::vector<double> x = {0};
    std::vector<double> y = {0};
    for (int left = count(random); left > 1; --left) {
      x.push_back(x.back() + increment());
      y.push_back(y.back() + increment());
    }
    const MonotoneCubic cubic(x, y);
    for (std::size_t i = 0; i + 1 < x.size(); ++i) {
      const double chord = (y[i + 1] - y[i]) / (x[i + 1] - x[i]);
      double last = y[i];
      for (int k = 1; k <= 32; ++k) {
        const ValueAndSlope point = cubic.at(x[i] + (x[i + 1] - x[i]) * k / 32);
        largest_fall = std::max(largest_fall, (last - point.value) / y[i + 1]);
        steepest_fall = std::max(steepest_fall, -point.slope / chord);
        last = point.value;
      }
    }
  }
  // Rounding would be forgiven; measured 0 and 0.
  EXPECT_LE(largest_fall, 1e-15);
  EXPECT_LE(steepest_fall, 1e-14);
}

}  // namespace
}  // namespace norv::internal
