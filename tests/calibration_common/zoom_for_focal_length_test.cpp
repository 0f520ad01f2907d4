// The zoom position at which a lens has a focal length.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "calibration_common/zoom_lens.h"
#include "tests/calibration_common/ptz_zoom_table.h"

namespace norv::internal {
namespace {

using calibration::PTZIntrinsicsTable;

/// A table of (zoom, focal length). Its start and interval do not count here.
PTZIntrinsicsTable tableOf(const std::vector<std::pair<double, double>>& samples) {
  return testing::ptzOf(samples, 0, 0).intrinsics();
}

int stepsFor(const PTZIntrinsicsTable& table, double focal_length) {
  return zoomForFocalLength(table, focal_length).steps;
}

/// Expects an answer between a sample and the next.
void expectBetween(const PTZIntrinsicsTable& table, double focal_length, int steps, int lower) {
  const ZoomPosition found = zoomForFocalLength(table, focal_length);
  EXPECT_EQ(found.steps, steps) << focal_length;
  EXPECT_EQ(found.lower, &table.samples(lower)) << focal_length;
  EXPECT_EQ(found.upper, &table.samples(lower + 1)) << focal_length;
}

/// Expects an answer without samples around it.
void expectAtAnEnd(const PTZIntrinsicsTable& table, double focal_length, int steps) {
  const ZoomPosition found = zoomForFocalLength(table, focal_length);
  EXPECT_EQ(found.steps, steps) << focal_length;
  EXPECT_EQ(found.lower, nullptr) << focal_length;
  EXPECT_EQ(found.upper, nullptr) << focal_length;
}

TEST(ZoomForFocalLength, InterpolatesBetweenTwoSamples) {
  const PTZIntrinsicsTable table = tableOf({{70, 1000}, {170, 2000}, {270, 4000}});
  expectBetween(table, 1500, 120, 0);
  expectBetween(table, 3000, 220, 1);
}

TEST(ZoomForFocalLength, ASampleOfThatFocalLengthIsTheLowerOne) {
  const PTZIntrinsicsTable table = tableOf({{70, 1000}, {170, 2000}, {270, 4000}});
  expectBetween(table, 1000, 70, 0);
  expectBetween(table, 2000, 170, 1);
  expectAtAnEnd(table, 4000, 270);
}

TEST(ZoomForFocalLength, ShorterThanTheFirstSampleIsZeroAndNotItsPosition) {
  const PTZIntrinsicsTable table = tableOf({{70, 1000}, {170, 2000}});
  for (const double f : {std::nextafter(1000.0, 0.0), 0.0, -1.0}) expectAtAnEnd(table, f, 0);
}

TEST(ZoomForFocalLength, LongerThanEverySampleIsTheLastOne) {
  const PTZIntrinsicsTable table = tableOf({{70, 1000}, {170.9, 2000}});
  for (const double f : {2000.1, 1e30, std::numeric_limits<double>::infinity(), std::nan("")}) {
    expectAtAnEnd(table, f, 170);
  }
  expectAtAnEnd(tableOf({{70, 1000}}), 1000, 70);
}

TEST(ZoomForFocalLength, StopsAtTheFirstLongerSample) {
  const PTZIntrinsicsTable table = tableOf({{0, 1000}, {100, 3000}, {200, 1500}, {300, 4000}});
  expectBetween(table, 2000, 50, 0);
  expectBetween(table, 3500, 280, 2);
}

TEST(ZoomForFocalLength, TruncatesTowardZero) {
  EXPECT_EQ(stepsFor(tableOf({{0, 1000}, {7, 2000}}), 1500), 3);
  EXPECT_EQ(stepsFor(tableOf({{0, 1000}, {-7, 2000}}), 1500), -3);
}

TEST(ZoomForFocalLength, TheShareIsInSinglePrecision) {
  // The float next to a tenth is 0.1 + 1.49e-9.
  EXPECT_EQ(stepsFor(tableOf({{0, 1000}, {1e9, 2000}}), 1100), 100000001);
}

TEST(ZoomForFocalLength, PositionsBeyondIntSaturate) {
  constexpr int kMinInt = std::numeric_limits<int>::min();
  constexpr int kMaxInt = std::numeric_limits<int>::max();
  EXPECT_EQ(stepsFor(tableOf({{0, 1000}, {1e12, 2000}}), 1500), kMaxInt);
  EXPECT_EQ(stepsFor(tableOf({{0, 1000}, {-1e12, 2000}}), 1500), kMinInt);
  EXPECT_EQ(stepsFor(tableOf({{0, 1000}, {1e12, 2000}}), 2000), kMaxInt);
  EXPECT_EQ(stepsFor(tableOf({{0, 1000}, {std::nan(""), 2000}}), 1500), 0);
}

}  // namespace
}  // namespace norv::internal
