/// Two calibrations of a pan-tilt-zoom camera, compared.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <utility>
#include <vector>

#include "calibration_common/calibration_diff.h"
#include "testing/example_ptz.h"
#include "testing/random_message.h"

namespace norv::calibration {
namespace {

using ::testing::ElementsAre;
using testing::examplePtz;
using ::testing::IsEmpty;
using ::testing::Pair;

std::vector<int> zoomsOf(const PtzDifference& difference) {
  std::vector<int> zooms;
  for (const ZoomDifference& at : difference.zooms) zooms.push_back(at.zoom);
  return zooms;
}

std::vector<std::pair<int, int>> positionsOf(const PtzDifference& difference) {
  std::vector<std::pair<int, int>> positions;
  for (const HeadPoseDifference& at : difference.poses) positions.emplace_back(at.pan, at.tilt);
  return positions;
}

TEST(PtzDiff, OfEqualCalibrationsIsExactlyZero) {
  const auto difference = diffCalibrations(examplePtz(), examplePtz());
  ASSERT_TRUE(difference);
  EXPECT_EQ(difference->zooms.size(), 23U);
  for (const ZoomDifference& at : difference->zooms) {
    // 61 * 1080 / 1920 = 34.3 rows.
    EXPECT_EQ(at.image.as_is.compared, 61 * 34) << at.zoom;
    EXPECT_EQ(at.image.as_is.max, 0);
    EXPECT_EQ(at.image.rotated.max, 0);
    for (const DistanceDifference& d : at.image.on_robot) EXPECT_EQ(d.pixels.max, 0);
  }
  for (const HeadPoseDifference& at : difference->poses) {
    EXPECT_EQ(at.pose.angle, 0);
    EXPECT_EQ(at.pose.distance, 0);
  }
}

TEST(PtzDiff, LooksAtSamplesAndBetweenThem) {
  PTZCameraParameters a = examplePtz();
  a.mutable_intrinsics()->mutable_samples()->DeleteSubrange(3, 9);
  const auto difference = diffCalibrations(a, a);
  ASSERT_TRUE(difference);
  EXPECT_THAT(zoomsOf(*difference), ElementsAre(0, 500, 1000, 1500, 1999));
}

TEST(PtzDiff, StaysWithinTheZoomRange) {
  PTZCameraParameters a = examplePtz();
  a.mutable_intrinsics()->mutable_samples()->DeleteSubrange(3, 9);
  a.mutable_intrinsics()->set_max_zoom(1200);
  EXPECT_THAT(zoomsOf(*diffCalibrations(a, examplePtz())), ElementsAre(0, 500, 1000, 1200));
  a.mutable_intrinsics()->set_min_zoom(250);
  EXPECT_THAT(zoomsOf(*diffCalibrations(a, examplePtz())), ElementsAre(250, 500, 1000, 1200));
  // The range of B plays no part.
  EXPECT_EQ(zoomsOf(*diffCalibrations(examplePtz(), a)).size(), 23U);
}

TEST(PtzDiff, OneSampleHasNoLens) {
  PTZCameraParameters a = examplePtz();
  a.mutable_intrinsics()->mutable_samples()->DeleteSubrange(1, 11);
  const auto difference = diffCalibrations(a, a);
  ASSERT_TRUE(difference);
  ASSERT_THAT(zoomsOf(*difference), ElementsAre(-1));
  EXPECT_EQ(difference->zooms[0].image.as_is.compared, 0);
  EXPECT_EQ(difference->zooms[0].image.as_is.without_ray, 61 * 34);
}

TEST(PtzDiff, ALongerFocalLengthShowsAtEveryZoom) {
  PTZCameraParameters a = examplePtz();
  *a.mutable_intrinsics() = testing::pinholeLens();
  PTZCameraParameters b = a;
  for (PTZIntrinsicsItem& sample : *b.mutable_intrinsics()->mutable_samples()) {
    sample.set_focal_length(1.01 * sample.focal_length());
  }
  const auto difference = diffCalibrations(a, b);
  ASSERT_TRUE(difference);
  for (const ZoomDifference& at : difference->zooms) {
    // 1 % of the corner's distance from the middle; focal lengths are floats.
    EXPECT_NEAR(at.image.as_is.max, 0.01 * std::hypot(960, 540), 1e-3) << at.zoom;
    EXPECT_NEAR(at.image.on_robot.at(0).pixels.max, at.image.as_is.max, 1e-9);
  }
}

TEST(PtzDiff, LooksAtHomeAndAtTheCornersOfTheRange) {
  PTZCameraParameters a = examplePtz();
  a.mutable_pan_tilt()->set_home_pan(100);
  a.mutable_pan_tilt()->set_home_tilt(-20);
  auto difference = diffCalibrations(a, a);
  ASSERT_TRUE(difference);
  EXPECT_THAT(positionsOf(*difference),
              ElementsAre(Pair(100, -20), Pair(-5934, -1047), Pair(-5934, 3141), Pair(5934, -1047),
                          Pair(5934, 3141)));
  a.mutable_pan_tilt()->clear_min_pan();
  a.mutable_pan_tilt()->clear_min_tilt();
  a.mutable_pan_tilt()->clear_max_tilt();
  difference = diffCalibrations(a, a);
  ASSERT_TRUE(difference);
  EXPECT_THAT(positionsOf(*difference), ElementsAre(Pair(100, -20), Pair(5934, -20)));
}

TEST(PtzDiff, AMovedZeroTurnsTheCameraEverywhere) {
  PTZCameraParameters b = examplePtz();
  b.mutable_pan_tilt()->set_pan_offset(20);
  const auto difference = diffCalibrations(examplePtz(), b);
  ASSERT_TRUE(difference);
  for (const HeadPoseDifference& at : difference->poses) {
    EXPECT_NEAR(at.pose.angle, 20 * static_cast<double>(0.0005F), 1e-12);
  }
  for (const ZoomDifference& at : difference->zooms) {
    EXPECT_EQ(at.image.as_is.max, 0);
    // At least what the turn moves the image's middle by.
    EXPECT_GT(at.image.on_robot.at(0).pixels.max, 0.99 * 0.01 * static_cast<double>(at.image.a.fx));
  }
}

TEST(PtzDiff, PosesAreThoseOfTheModel) {
  PTZCameraParameters b = examplePtz();
  b.mutable_pan_tilt()->set_pan_scale(0.000501F);
  b.mutable_pan_tilt()->set_tilt_scale(0.000499F);
  b.mutable_pan_tilt()->mutable_tilt_to_camera()->set_a(11, -50);
  const auto difference = diffCalibrations(examplePtz(), b);
  ASSERT_TRUE(difference);
  const PanTiltModel head_a = testing::headModel(examplePtz().pan_tilt());
  const PanTiltModel head_b = testing::headModel(b.pan_tilt());
  for (const HeadPoseDifference& at : difference->poses) {
    const auto pan = static_cast<float>(at.pan);
    const auto tilt = static_cast<float>(at.tilt);
    const Vector3_f moved = head_b.getFullTransform(pan, tilt).getCameraCenter() -
                            head_a.getFullTransform(pan, tilt).getCameraCenter();
    // The model is in single precision, and so are angles of 3 rad.
    for (int i = 0; i < 3; ++i) {
      EXPECT_NEAR(at.pose.movement[static_cast<std::size_t>(i)], static_cast<double>(moved[i]),
                  2e-6);
    }
    EXPECT_GT(at.pose.distance, 1e-3);
  }
}

TEST(PtzDiff, ImagesOfOtherSizesAreNotCompared) {
  PTZCameraParameters b = examplePtz();
  b.mutable_intrinsics()->set_image_width(1280);
  const auto difference = diffCalibrations(examplePtz(), b);
  ASSERT_TRUE(difference);
  EXPECT_THAT(difference->zooms, IsEmpty());
  EXPECT_EQ(difference->size_a, (PixelSize{1920, 1080}));
  EXPECT_EQ(difference->size_b, (PixelSize{1280, 1080}));
  EXPECT_EQ(difference->poses.size(), 5U);
}

TEST(PtzDiff, ACalibrationThatDoesNotLoadIsAReason) {
  PTZCameraParameters b = examplePtz();
  b.mutable_intrinsics()->clear_samples();
  DiffProblem problem;
  EXPECT_FALSE(diffCalibrations(examplePtz(), b, {}, &problem));
  EXPECT_TRUE(problem.is_in_b);
  EXPECT_EQ(problem.problem.field, "intrinsics.samples");
  EXPECT_FALSE(diffCalibrations(b, examplePtz(), {}, &problem));
  EXPECT_FALSE(problem.is_in_b);
}

TEST(PtzDiff, AnyMessagesAreCompared) {
  std::mt19937 random(22);
  int compared = 0;
  for (int i = 0; i < 100; ++i) {
    if (diffCalibrations(testing::mutated(examplePtz(), &random),
                         testing::mutated(examplePtz(), &random))) {
      ++compared;
    }
  }
  EXPECT_GT(compared, 30);
}

}  // namespace
}  // namespace norv::calibration
