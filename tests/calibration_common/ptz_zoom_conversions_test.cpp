// Zoom factors and steps of the zoom motor, each from the other.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "calibration_common/ptz_camera_model.h"
#include "testing/example_ptz.h"
#include "tests/calibration_common/ptz_zoom_table.h"

namespace norv::calibration {
namespace {

using testing::examplePtz;
using testing::ptzOf;
using testing::ptzOfThreeSamples;

constexpr int kMinInt = std::numeric_limits<int>::min();
constexpr int kMaxInt = std::numeric_limits<int>::max();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

TEST(ZoomXFactorToSteps, InterpolatesTheFocalLengths) {
  const PTZCameraModel model(ptzOfThreeSamples());
  EXPECT_EQ(model.zoomXFactorToSteps(1.5F), 100);
  EXPECT_EQ(model.zoomXFactorToSteps(4.0F), 200);
  EXPECT_EQ(model.zoomXFactorToSteps(5.0F), 225);
}

TEST(ZoomXFactorToSteps, FactorOneIsTheFirstSamplesZoom) {
  EXPECT_EQ(PTZCameraModel(ptzOfThreeSamples()).zoomXFactorToSteps(1.0F), 50);
  // Rounded, half away from zero.
  EXPECT_EQ(PTZCameraModel(ptzOf({{50.5, 100}, {150, 200}}, 50, 100)).zoomXFactorToSteps(1), 51);
  EXPECT_EQ(PTZCameraModel(ptzOf({{-50.5, 100}, {150, 200}}, -50, 100)).zoomXFactorToSteps(1), -51);
}

TEST(ZoomXFactorToSteps, BelowOneIsZeroAndNotTheFirstSample) {
  const PTZCameraModel model(ptzOfThreeSamples());
  for (const float factor : {std::nextafter(1.0F, 0.0F), 0.5F, 0.0F, -3.0F, -kInfinity}) {
    EXPECT_EQ(model.zoomXFactorToSteps(factor), 0) << factor;
  }
}

TEST(ZoomXFactorToSteps, BeyondTheLastSampleIsItsZoomRounded) {
  EXPECT_EQ(PTZCameraModel(ptzOfThreeSamples()).zoomXFactorToSteps(6.001F), 250);
  const PTZCameraModel model(ptzOf({{0, 100}, {99.5, 200}}, 0, 100));
  for (const float factor : {2.001F, 1e30F, kInfinity}) {
    EXPECT_EQ(model.zoomXFactorToSteps(factor), 100) << factor;
  }
}

TEST(ZoomXFactorToSteps, ATieStopsAtTheLowerSegment) {
  // Two samples of the same focal length: between them nothing could be interpolated.
  const PTZCameraModel flat(ptzOf({{0, 100}, {100, 200}, {200, 200}, {300, 400}}, 0, 100));
  EXPECT_EQ(flat.zoomXFactorToSteps(2), 100);
}

TEST(ZoomXFactorToSteps, RoundsHalfAwayFromZero) {
  // 2.5 and -2.5.
  EXPECT_EQ(PTZCameraModel(ptzOf({{0, 1}, {10, 5}}, 0, 10)).zoomXFactorToSteps(2), 3);
  EXPECT_EQ(PTZCameraModel(ptzOf({{0, 1}, {-10, 5}}, 0, -10)).zoomXFactorToSteps(2), -3);
}

TEST(ZoomXFactorToSteps, WorksInDouble) {
  // Zooms that float cannot tell apart.
  const PTZCameraModel model(ptzOf({{1000000000, 1}, {1000000010, 2}}, 1000000000, 10));
  EXPECT_EQ(model.zoomXFactorToSteps(1.3F), 1000000003);
  // A focal length of 4.65: (4.65 - 3.1) / (7.3 - 3.1) of the way. As a float it would be 22 steps
  // further.
  const PTZCameraModel fine(ptzOf({{0, 3.1}, {1e9, 7.3}}, 0, 1000000000));
  EXPECT_EQ(fine.zoomXFactorToSteps(1.5F), 369047619);
}

TEST(ZoomXFactorToSteps, NotANumberIsTheLastSample) {
  EXPECT_EQ(PTZCameraModel(ptzOfThreeSamples()).zoomXFactorToSteps(std::nanf("")), 250);
}

TEST(ZoomXFactorToSteps, ResultsBeyondIntSaturate) {
  EXPECT_EQ(PTZCameraModel(ptzOf({{0, 1}, {1e12, 2}}, 0, 1)).zoomXFactorToSteps(3), kMaxInt);
  EXPECT_EQ(PTZCameraModel(ptzOf({{0, 1}, {-1e12, 2}}, 0, 1)).zoomXFactorToSteps(3), kMinInt);
  EXPECT_EQ(PTZCameraModel(ptzOf({{0, 1}, {1e12, 2}}, 0, 1)).zoomXFactorToSteps(1.5F), kMaxInt);
  EXPECT_EQ(PTZCameraModel(ptzOf({{0, 1}, {std::nan(""), 2}}, 0, 1)).zoomXFactorToSteps(3), 0);
  // All samples alike: 0 / 0.
  EXPECT_EQ(PTZCameraModel(ptzOf({{5, 1}, {6, 1}}, 0, 1)).zoomXFactorToSteps(1), 0);
}

TEST(StepsToZoomXFactor, InterpolatesTheFocalLengths) {
  const PTZCameraModel model(ptzOfThreeSamples());
  EXPECT_EQ(model.stepsToZoomXFactor(50), 1.0F);
  EXPECT_EQ(model.stepsToZoomXFactor(100), 1.5F);
  EXPECT_EQ(model.stepsToZoomXFactor(150), 2.0F);
  EXPECT_EQ(model.stepsToZoomXFactor(200), 4.0F);
  EXPECT_EQ(model.stepsToZoomXFactor(225), 5.0F);
}

TEST(StepsToZoomXFactor, WorksInDouble) {
  const PTZCameraModel model(ptzOf({{1000000000, 1}, {1000000010, 2}}, 1000000000, 10));
  EXPECT_EQ(model.stepsToZoomXFactor(1000000003), 1.3F);
}

TEST(StepsToZoomXFactor, TheLastSampleAndBeyondGiveTheMaximum) {
  const PTZCameraModel model(examplePtz());
  for (const int steps : {11000, 11001, 1000000, kMaxInt}) {
    EXPECT_EQ(model.stepsToZoomXFactor(steps), model.getMaxZoomFactor()) << steps;
  }
  EXPECT_LT(model.stepsToZoomXFactor(10999), model.getMaxZoomFactor());
}

TEST(StepsToZoomXFactor, NegativeStepsCountAsZero) {
  // A table from -100 on, so that 0 is not the wide end.
  const PTZCameraModel model(ptzOf({{-100, 100}, {0, 200}, {100, 400}}, -100, 100));
  EXPECT_EQ(model.stepsToZoomXFactor(0), 2.0F);
  for (const int steps : {-1, -50, -100, -1000, kMinInt}) {
    EXPECT_EQ(model.stepsToZoomXFactor(steps), 2.0F) << steps;
  }
}

TEST(StepsToZoomXFactor, IsNeverBelowOne) {
  // Below the first sample by less than an interval the first segment is extrapolated, to 0.5 at 0.
  const PTZCameraModel model(ptzOfThreeSamples());
  EXPECT_EQ(model.stepsToZoomXFactor(0), 1.0F);
  EXPECT_EQ(model.stepsToZoomXFactor(49), 1.0F);
}

TEST(StepsToZoomXFactor, NegativeIndex) {
  // An interval and more below the first sample both samples are the first one: 0 / 0 or x / 0,
  // and 1.
  const PTZCameraModel model(ptzOf({{500, 100}, {600, 200}}, 500, 100));
  for (const int steps : {0, 100, 399, 400}) {
    EXPECT_EQ(model.stepsToZoomXFactor(steps), 1.0F) << steps;
  }
}

TEST(StepsToZoomXFactor, UsesTheIndexAndNotTheZoomsOfTheSamples) {
  // Samples at 0, 100 and 200, spaced 50 by the table: 60 belongs to segment 1, extrapolated to
  // 1.4 x 200 - 0.4 x 400 = 120.
  const PTZCameraModel model(ptzOf({{0, 100}, {100, 200}, {200, 400}}, 0, 50));
  EXPECT_FLOAT_EQ(model.stepsToZoomXFactor(60), 1.2F);
  EXPECT_EQ(model.stepsToZoomXFactor(100), 4.0F);
}

TEST(StepsToZoomXFactor, IntervalOfZeroIsTheFirstSegment) {
  const PTZCameraModel model(ptzOf({{0, 100}, {100, 200}, {200, 400}}, 0, 0));
  EXPECT_EQ(model.stepsToZoomXFactor(50), 1.5F);
  EXPECT_EQ(model.stepsToZoomXFactor(200), 3.0F);
}

TEST(StepsToZoomXFactor, IsNeverNotANumber) {
  const double nan = std::nan("");
  for (const PTZCameraParameters& params :
       {ptzOf({{0, nan}, {100, 200}}, 0, 100), ptzOf({{0, 100}, {nan, 200}}, 0, 100),
        ptzOf({{0, 0}, {100, 0}}, 0, 100), ptzOf({{0, 100}, {0, 200}}, 0, 100),
        ptzOf({{0, 1e300}, {100, nan}}, 0, 100), ptzOf({{nan, nan}, {nan, nan}}, 1, 1)}) {
    const PTZCameraModel model(params);
    for (const int steps : {kMinInt, 0, 50, 100, kMaxInt}) {
      // Comparisons with NaN are false.
      EXPECT_GE(model.stepsToZoomXFactor(steps), 1.0F) << params.ShortDebugString() << steps;
    }
  }
  EXPECT_EQ(PTZCameraModel(ptzOf({{0, 0}, {100, 5}}, 0, 100)).stepsToZoomXFactor(100), kInfinity);
}

TEST(ZoomConversions, ExtremeTables) {
  for (const int start : {kMinInt, -1, 0, kMaxInt}) {
    for (const int interval : {kMinInt, -1, 0, 1, kMaxInt}) {
      const PTZCameraModel model(ptzOf({{0, 100}, {100, 200}}, start, interval));
      for (const int steps : {kMinInt, -1, 0, 1, kMaxInt}) {
        EXPECT_GE(model.stepsToZoomXFactor(steps), 1.0F);
      }
    }
  }
}

TEST(ZoomConversions, UndoEachOtherWhereTheTableIsRegular) {
  const PTZCameraModel model(examplePtz());
  for (int steps = 0; steps <= 11000; ++steps) {
    EXPECT_EQ(model.zoomXFactorToSteps(model.stepsToZoomXFactor(steps)), steps);
  }
}

}  // namespace
}  // namespace norv::calibration
