#include "support/sensor/sensor_warp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "testing/lens_tables.h"
#include "testing/numeric_derivative.h"

namespace norv::internal {
namespace {

using testing::headCameraTables;
using testing::LensTables;
using testing::sampleLens;
using testing::Stereographic;

constexpr double kFactor = 0.9;

/// 0.9 in single precision, as the sensor's interface takes it.
constexpr auto kHeadCameraFactor = static_cast<double>(0.9F);

SensorWarp warpOf(const LensTables& tables, double factor = kFactor) {
  return SensorWarp(Eigen::Vector2d(640, 480), factor,
                    LensCurve::fromTable(tables.radii, tables.degrees).value());
}

/// The head camera's.
SensorWarp headCameraWarp() { return warpOf(headCameraTables(), kHeadCameraFactor); }

/// A lens that the smooth curve does not fit.
LensTables orthographicTables() {
  return sampleLens([](double r) { return std::asin(r / 1005); }, 10, 100);
}

TEST(SensorWarp, HeadCameraRadii) {
  // Reference: the same least squares solved with NumPy.
  const std::pair<double, double> expected[] = {
      {0, 0},
      {100, 90.435633594},
      {240, 222.164342253},
      {480, 485.936466538},
      {640, 717.618004893},
      {800, 1041.072666013},
      {990, 1688.978317801},
      {1200, 2689.735035575},
  };
  const SensorWarp warp = headCameraWarp();
  for (const auto& [r, warped] : expected) {
    EXPECT_NEAR(warp.warpedRadius(r).value, warped, 1e-8) << r;  // measured 5e-10
  }
  EXPECT_NEAR(warp.warpedRadius(990).slope, 4.765508180, 1e-9);
}

TEST(SensorWarp, HeadCameraTablesRoundingDoesNotReachTheImage) {
  // The lens itself, with the fitted focal length: 647.88 for 648.
  const LensTables tables = headCameraTables();
  const double f =
      kHeadCameraFactor / LensCurve::fromTable(tables.radii, tables.degrees)->at(0).slope;
  EXPECT_NEAR(f, 648, 0.13);
  const SensorWarp warp = headCameraWarp();
  for (double r = 0; r <= 687; ++r) {
    const double ideal = f * std::tan(Stereographic{720}(r));
    // Measured 0.060, over all that the output shows; a cubic through the table's entries has 1.25.
    EXPECT_NEAR(warp.warpedRadius(r).value, ideal, 0.08) << r;
  }
}

TEST(SensorWarp, MakesAStereographicLensAPinhole) {
  const SensorWarp warp = warpOf(sampleLens(Stereographic{720}, 10, 100));
  for (double r = 0; r <= 990; r += 5) {
    const double ideal = 648 * std::tan(Stereographic{720}(r));
    EXPECT_NEAR(warp.warpedRadius(r).value, ideal, 3e-4) << r;  // measured 1.3e-4
  }
}

/// The largest distance in pixels between the warp of a lens sampled every 10 pixels and the
/// pinhole image of the lens, focal length `f`, up to the radius `end`.
template <class AngleOf>
double largestMiss(const AngleOf& angle_of, double f, double end) {
  const SensorWarp warp = warpOf(sampleLens(angle_of, 10, 100));
  double largest = 0;
  for (double r = 0; r <= end; ++r) {
    const double ideal = kFactor * f * std::tan(angle_of(r));
    largest = std::max(largest, std::abs(warp.warpedRadius(r).value - ideal));
  }
  return largest;
}

TEST(SensorWarp, OtherLenses) {
  // How far the curve can follow each family, out to the frame's corner: measured 1.2e-5, 2.46,
  // 0.63 and 3.13.
  EXPECT_LT(largestMiss(Stereographic{500}, 500, 800), 1e-4);
  EXPECT_LT(largestMiss([](double r) { return std::atan(r / 900); }, 900, 800), 2.5);
  EXPECT_LT(largestMiss([](double r) { return r / 700; }, 700, 800), 0.7);
  EXPECT_LT(largestMiss([](double r) { return 2 * std::asin(r / 1440); }, 720, 800), 3.3);
  // The monotone cubic: measured 0.02.
  EXPECT_LT(largestMiss([](double r) { return std::asin(r / 1005); }, 1005, 800), 0.03);
}

TEST(SensorWarp, ARectilinearLensIsOnlyScaled) {
  // Too few entries for the smooth curve; the cubic meets every entry, so that r' = factor f0 r /
  // f.
  const LensTables tables = sampleLens([](double r) { return std::atan(r / 900); }, 200, 5);
  const SensorWarp warp = warpOf(tables);
  const double f0 = 200 / std::atan(200.0 / 900);
  for (const double r : {200.0, 400.0, 600.0, 800.0}) {
    EXPECT_NEAR(warp.warpedRadius(r).value, 0.9 * f0 * r / 900, 1e-4) << r;  // measured 5e-5
  }
}

TEST(SensorWarp, FactorIsTheMagnificationAtTheCentre) {
  for (const double factor : {0.5, 0.9, 1.0, 3.0}) {
    for (const LensTables& tables : {headCameraTables(), orthographicTables()}) {
      const SensorWarp warp = warpOf(tables, factor);
      EXPECT_DOUBLE_EQ(warp.warpedRadius(0).slope, factor);
      for (const double r : {1e-3, 1e-9, 1e-30, 1e-300}) {
        EXPECT_NEAR(warp.warpedRadius(r).value / r, factor, 1e-6 * factor) << r;
        EXPECT_NEAR(warp.unwarpedRadius(r) * factor / r, 1, 1e-6) << r;
      }
    }
  }
}

TEST(SensorWarp, CentreStaysAndRaysAreKept) {
  const SensorWarp warp = headCameraWarp();
  const Eigen::Vector2d centre(640, 480);
  EXPECT_EQ(warp.warp(centre), centre);
  EXPECT_EQ(warp.unwarp(centre), centre);
  for (const double degrees : {0.0, 30.0, 90.0, 135.0, 180.0, 250.0, 359.0}) {
    const double angle = degrees * testing::kRadiansPerDegree;
    const Eigen::Vector2d ray(std::cos(angle), std::sin(angle));
    const Eigen::Vector2d expected = centre + warp.warpedRadius(500).value * ray;
    EXPECT_LT((warp.warp(centre + 500 * ray) - expected).norm(), 1e-12) << degrees;
  }
}

TEST(SensorWarp, SlopeIsTheDerivative) {
  for (const LensTables& tables : {headCameraTables(), orthographicTables()}) {
    const SensorWarp warp = warpOf(tables);
    const auto value = [&warp](double r) { return warp.warpedRadius(r).value; };
    for (double r = 3.5; r < 970; r += 7) {  // between the entries
      const double slope = warp.warpedRadius(r).slope;
      EXPECT_NEAR(slope / testing::numericDerivative(value, r), 1, 1e-7) << r;  // measured 2e-8
    }
  }
}

TEST(SensorWarp, GoesOnStraightBeyondTheTable) {
  for (const LensTables& tables : {headCameraTables(), orthographicTables()}) {
    const SensorWarp warp = warpOf(tables);
    const double last = LensCurve::fromTable(tables.radii, tables.degrees)->lastRadius();
    const ValueAndSlope end = warp.warpedRadius(last);
    // Continuous in value and slope. The second derivative is 4.1 at most.
    for (const double step : {1e-3, 1e-6, 1e-9}) {
      const ValueAndSlope before = warp.warpedRadius(last - step);
      const ValueAndSlope after = warp.warpedRadius(last + step);
      EXPECT_NEAR(before.value, end.value - step * end.slope, 2.1 * step * step + 1e-11) << step;
      EXPECT_NEAR(after.value, end.value + step * end.slope, 1e-11) << step;
      EXPECT_NEAR(before.slope, end.slope, 4.2 * step) << step;
      EXPECT_EQ(after.slope, end.slope) << step;
    }
    // And straight, however far.
    for (const double beyond : {1.0, 1e3, 1e6, 1e30}) {
      const double expected = end.value + beyond * end.slope;
      EXPECT_NEAR(warp.warpedRadius(last + beyond).value / expected, 1, 1e-14) << beyond;
      EXPECT_NEAR(warp.unwarpedRadius(expected) / (last + beyond), 1, 1e-14) << beyond;
    }
  }
}

TEST(SensorWarp, RisesOverADenseGrid) {
  for (const LensTables& tables : {headCameraTables(), orthographicTables()}) {
    const SensorWarp warp = warpOf(tables);
    double last = -1;
    for (int i = 0; i <= 240000; ++i) {
      const double warped = warp.warpedRadius(i * 0.01).value;
      ASSERT_GT(warped, last) << i;
      last = warped;
    }
  }
}

TEST(SensorWarp, RoundTripsOverThreeTimesTheFrame) {
  for (const LensTables& tables : {headCameraTables(), orthographicTables()}) {
    const SensorWarp warp = warpOf(tables);
    double there_and_back = 0;
    double back_and_there = 0;
    for (double x = -1280; x <= 2560; x += 7.3) {
      for (double y = -960; y <= 1920; y += 6.1) {
        const Eigen::Vector2d p(x, y);
        there_and_back = std::max(there_and_back, (warp.unwarp(warp.warp(p)) - p).norm());
        back_and_there = std::max(back_and_there, (warp.warp(warp.unwarp(p)) - p).norm());
      }
    }
    // Measured 8e-13 and 8e-12.
    EXPECT_LT(there_and_back, 1e-10);
    EXPECT_LT(back_and_there, 1e-10);
  }
}

TEST(SensorWarp, PointsThatAreNotFinite) {
  const SensorWarp warp = headCameraWarp();
  const double infinity = std::numeric_limits<double>::infinity();
  for (const double bad : {std::nan(""), infinity, -infinity}) {
    for (const Eigen::Vector2d& p :
         {Eigen::Vector2d(bad, 1), Eigen::Vector2d(1, bad), Eigen::Vector2d(bad, bad)}) {
      const Eigen::Vector2d forward = warp.warp(p);
      const Eigen::Vector2d backward = warp.unwarp(p);
      EXPECT_TRUE(std::isnan(forward.x()) && std::isnan(forward.y())) << bad;
      EXPECT_TRUE(std::isnan(backward.x()) && std::isnan(backward.y())) << bad;
    }
  }
}

/// Over and beyond the table: the map is finite and never falls, and its inverse fits it.
void expectInvertible(const LensTables& tables, double factor, const std::string& name) {
  SCOPED_TRACE(name);
  const SensorWarp warp = warpOf(tables, factor);
  const double end = LensCurve::fromTable(tables.radii, tables.degrees)->lastRadius();
  double last = 0;
  for (int i = 1; i <= 200; ++i) {
    const double r = end * i / 128;
    const ValueAndSlope at = warp.warpedRadius(r);
    ASSERT_TRUE(std::isfinite(at.value) && std::isfinite(at.slope)) << i;
    ASSERT_GE(at.value, last * (1 - 1e-14)) << i;
    last = at.value;
    const double back = warp.unwarpedRadius(at.value);
    ASSERT_TRUE(std::isfinite(back)) << i;
    // A flat map leaves r open, and r' only to the rounding of r. Measured 1.6e-15.
    const double miss = std::abs(warp.warpedRadius(back).value - at.value);
    ASSERT_LT(miss / (at.value + at.slope * r), 1e-14) << i;
  }
}

TEST(SensorWarp, RandomTables) {
  std::mt19937_64 random(20);
  std::uniform_int_distribution<std::size_t> count(2, 40);
  std::uniform_real_distribution<double> exponent(-3, 0);
  std::uniform_real_distribution<double> uniform(0, 1);
  const auto rising = [&](std::size_t n, double end) {
    std::vector<double> sums(n);
    double sum = 0;
    for (double& s : sums) s = sum += std::pow(10, exponent(random));
    std::vector<float> values(n);
    for (std::size_t i = 0; i < n; ++i) values[i] = static_cast<float>(sums[i] / sum * end);
    return values;
  };
  for (int trial = 0; trial < 1000; ++trial) {
    const std::size_t n = count(random);
    const LensTables tables = {rising(n, std::pow(10, 6 * uniform(random))),
                               rising(n, 80 * uniform(random))};
    expectInvertible(tables, 0.1 + 3 * uniform(random), "trial " + std::to_string(trial));
  }
}

TEST(SensorWarp, ExtremeTables) {
  const float tiniest = std::numeric_limits<float>::denorm_min();
  const float largest = std::numeric_limits<float>::max();
  const float next = std::nextafter(80.0F, 0.0F);
  const std::vector<std::pair<const char*, LensTables>> tables = {
      {"denormal radii", {{tiniest, 2 * tiniest, 3 * tiniest}, {10, 30, 80}}},
      {"denormal angles", {{10, 20, 30}, {tiniest, 2 * tiniest, 5 * tiniest}}},
      {"largest radii", {{1, 1e30F, largest}, {1, 2, 80}}},
      {"all scales", {{tiniest, 1, largest}, {tiniest, 1, 80}}},
      {"steep start", {{tiniest, 1, 2}, {79, next, 80}}},
      {"flat, then steep", {{1, 1000, std::nextafter(1000.0F, 2000.0F)}, {tiniest, 1e-30F, 80}}},
      {"steep, then flat", {{1, 2, 1e30F}, {79, next, 80}}},
      {"nine tiny entries",
       {{1, 2, 3, 4, 5, 6, 7, 8, 9},
        {1e-40F, 2e-40F, 3e-40F, 4e-40F, 5e-40F, 6e-40F, 7e-40F, 8e-40F, 9e-40F}}},
  };
  const double factors[] = {static_cast<double>(tiniest), 0.9, static_cast<double>(largest)};
  for (const auto& [name, lens] : tables) {
    for (const double factor : factors) expectInvertible(lens, factor, name);
  }
}

TEST(SensorWarp, AMillionEntries) {
  const int count = 1000000;
  const SensorWarp smooth = warpOf(sampleLens(Stereographic{720}, 1e-3, count));
  EXPECT_NEAR(smooth.warpedRadius(800).value, 648 * std::tan(Stereographic{720}(800)), 1e-5);
  const LensTables orthographic =
      sampleLens([](double r) { return std::asin(r / 1005); }, 1e-3, count);
  expectInvertible(orthographic, kFactor, "orthographic");
}

}  // namespace
}  // namespace norv::internal
