// The figures of two calibrations of fixed cameras, compared in pixels.

#include "calibration_common/calibration_diff.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "testing/calibration_edits.h"
#include "testing/log_capture.h"
#include "testing/random_message.h"
#include "tests/calibration_common/diffed_camera.h"

namespace norv::calibration {
namespace {

using testing::defaultRobot;
using testing::defaultRobotWith;
using testing::diffCamera;
using testing::diffImage;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::pinholeCamera;

constexpr double kDegrees = 180 / 3.14159265358979323846;

/// A camera whose lens has the radial coefficients k1 and k4.
CameraCalibration lensCamera(double k1, double k4) {
  CameraCalibration camera = pinholeCamera("a", 1280, 960);
  camera.mutable_intrinsics()->set_fx(600);
  camera.mutable_intrinsics()->set_fy(600);
  camera.mutable_intrinsics()->set_radial(0, k1);
  camera.mutable_intrinsics()->set_radial(3, k4);
  return camera;
}

void expectNoDifference(const PixelDifference& pixels, int count) {
  EXPECT_EQ(pixels.compared, count);
  EXPECT_EQ(pixels.without_ray, 0);
  EXPECT_EQ(pixels.not_imaged, 0);
  EXPECT_EQ(pixels.max, 0);
  EXPECT_EQ(pixels.median, 0);
  EXPECT_EQ(pixels.rms, 0);
}

TEST(CalibrationDiff, OfEqualCalibrationsIsExactlyZero) {
  const auto difference = diffCalibrations(defaultRobot(), defaultRobot());
  ASSERT_TRUE(difference);
  ASSERT_EQ(difference->cameras.size(), 2U);
  EXPECT_THAT(difference->only_in_a, IsEmpty());
  EXPECT_THAT(difference->only_in_b, IsEmpty());
  for (const CameraDifference& camera : difference->cameras) {
    EXPECT_EQ(camera.pose.angle, 0);
    EXPECT_EQ(camera.pose.distance, 0);
    ASSERT_EQ(camera.images.size(), 3U);
    for (const ImageDifference& image : camera.images) {
      // 61 columns, and rows as far apart: 61 * 3 / 4 = 45.75, 61 * 9 / 16 = 34.3.
      const int count = 61 * (image.a.height == 720 ? 34 : 46);
      expectNoDifference(image.as_is, count);
      expectNoDifference(image.rotated, count);
      EXPECT_THAT(image.rotation, ElementsAre(0, 0, 0));
      ASSERT_EQ(image.on_robot.size(), 2U);
      for (const DistanceDifference& at : image.on_robot) expectNoDifference(at.pixels, count);
    }
  }
}

struct KnownChange {
  const char* name;
  const char* camera;
  std::function<void(CameraIntrinsics*)> edit;
  std::vector<double> as_is;    ///< largest, median, RMS
  std::vector<double> rotated;  ///< empty where they are not known
  std::vector<double> turn;     ///< degrees about x, y and z; empty where none is known

  friend std::ostream& operator<<(std::ostream& out, const KnownChange& change) {
    return out << change.name;
  }
};

class KnownChangeTest : public ::testing::TestWithParam<KnownChange> {};

void expectFigures(const PixelDifference& pixels, const std::vector<double>& expected) {
  if (expected.empty()) return;
  EXPECT_NEAR(pixels.max, expected[0], 1e-3);
  EXPECT_NEAR(pixels.median, expected[1], 1e-3);
  EXPECT_NEAR(pixels.rms, expected[2], 1e-3);
}

/// The expected figures are those of a program in another language, which minimised with another
/// least-squares solver.
TEST_P(KnownChangeTest, HasTheFiguresOfAnotherImplementation) {
  DiffOptions options;
  options.camera = GetParam().camera;
  const auto changed = defaultRobotWith(GetParam().camera, [](CameraCalibration* camera) {
    GetParam().edit(camera->mutable_intrinsics());
  });
  const CameraDifference camera = diffCamera(defaultRobot(), changed, options);
  ASSERT_EQ(camera.images.size(), 3U);
  const ImageDifference& image = camera.images[1];
  ASSERT_EQ(image.a.width, 1280);
  ASSERT_EQ(image.a.height, 960);
  expectFigures(image.as_is, GetParam().as_is);
  expectFigures(image.rotated, GetParam().rotated);
  for (std::size_t i = 0; i < GetParam().turn.size(); ++i) {
    EXPECT_NEAR(image.rotation[i] * kDegrees, GetParam().turn[i], 1e-3);
  }
}

INSTANTIATE_TEST_SUITE_P(
    CalibrationDiff, KnownChangeTest,
    ::testing::Values(KnownChange{"PrincipalPointToTheRight",
                                  "navigation_camera",
                                  [](CameraIntrinsics* in) { in->set_cx(in->cx() + 5); },
                                  {5, 5, 5},
                                  {1.3058, 0.1903, 0.2858},
                                  {0, -0.3238, 0}},
                      KnownChange{"LongerFocalLength",
                                  "navigation_camera",
                                  [](CameraIntrinsics* in) {
                                    in->set_fx(in->fx() * 1.01);
                                    in->set_fy(in->fy() * 1.01);
                                  },
                                  {8, 4.5015, 4.7042},
                                  {8.0065, 4.4986, 4.7042},
                                  {}},
                      KnownChange{"LessBarrel",
                                  "navigation_camera",
                                  [](CameraIntrinsics* in) { in->set_radial(0, -0.275); },
                                  {7.6337, 0.7025, 1.7841},
                                  {},
                                  {}},
                      KnownChange{"PrincipalPointUp",
                                  "head_camera",
                                  [](CameraIntrinsics* in) { in->set_cy(in->cy() - 3); },
                                  {3, 3, 3},
                                  {0.9308, 0.2988, 0.3807},
                                  {-0.2420, 0, 0}}),
    [](const auto& change) { return std::string(change.param.name); });

TEST(CalibrationDiff, WorstPixelIsThatOfTheLargestShift) {
  CameraCalibration b = pinholeCamera("a", 100, 100);
  b.mutable_intrinsics()->set_fx(1100);
  DiffOptions options;
  options.keep_grid = true;
  const ImageDifference image = diffImage(pinholeCamera("a", 100, 100), b, options);
  // du = 0.1 (u - 50).
  EXPECT_NEAR(image.as_is.max, 5, 1e-12);
  EXPECT_NEAR(std::abs(image.as_is.worst_u - 50), 50, 1e-12);
  ASSERT_EQ(image.grid.size(), 61U * 61U);
  for (const GridDifference& at : image.grid) {
    EXPECT_NEAR(at.du, 0.1 * (at.u - 50), 1e-12);
    EXPECT_NEAR(at.dv, 0, 1e-12);
  }
  EXPECT_EQ(image.grid.front().u, 0);
  EXPECT_EQ(image.grid.front().v, 0);
  EXPECT_EQ(image.grid.back().u, 100);
  EXPECT_EQ(image.grid.back().v, 100);
}

TEST(CalibrationDiff, GridIsKeptOnRequestAlone) {
  EXPECT_THAT(diffImage(pinholeCamera("a", 100, 100), pinholeCamera("a", 100, 100)).grid,
              IsEmpty());
}

TEST(CalibrationDiff, UndoesTheSkewOfA) {
  CameraCalibration a = lensCamera(-0.05, 0);
  a.mutable_intrinsics()->set_skew(5);
  DiffOptions options;
  options.keep_grid = true;
  const ImageDifference image = diffImage(a, lensCamera(-0.05, 0), options);
  EXPECT_EQ(image.as_is.compared, 61 * 46);
  // One lens, so that all that changes is the skew's share of u.
  for (const GridDifference& at : image.grid) {
    EXPECT_NEAR(at.du, -5 * (at.v - 480) / 600, 1e-9);
    EXPECT_NEAR(at.dv, 0, 1e-9);
  }
  expectNoDifference(diffImage(a, a).as_is, 61 * 46);
}

TEST(CalibrationDiff, AppliesTheSkewOfB) {
  CameraCalibration b = lensCamera(-0.05, 0);
  b.mutable_intrinsics()->set_skew(5);
  DiffOptions options;
  options.keep_grid = true;
  for (const GridDifference& at : diffImage(lensCamera(-0.05, 0), b, options).grid) {
    EXPECT_NEAR(at.du, 5 * (at.v - 480) / 600, 1e-9);
  }
}

/// Pixels of the grid that are farther than `radius` from the middle of 1280 x 960.
int countOutside(double radius) {
  int count = 0;
  for (int r = 0; r < 46; ++r) {
    for (int c = 0; c < 61; ++c) {
      if (std::hypot(1280.0 * c / 60 - 640, 960.0 * r / 45 - 480) > radius) ++count;
    }
  }
  return count;
}

TEST(CalibrationDiff, CountsPixelsWithoutRay) {
  // r - r^3 / 2 folds at r = sqrt(2 / 3), where it is 2 / 3 of that.
  const int outside = countOutside(600 * std::sqrt(2.0 / 3) * 2 / 3);
  const ImageDifference image = diffImage(lensCamera(-0.5, 0), lensCamera(0, 0));
  EXPECT_GT(outside, 1000);
  EXPECT_EQ(image.as_is.without_ray, outside);
  EXPECT_EQ(image.as_is.compared, 61 * 46 - outside);
  EXPECT_EQ(image.as_is.not_imaged, 0);
}

TEST(CalibrationDiff, CountsRaysThatBDoesNotImage) {
  const int beyond_fold = countOutside(600 * std::sqrt(2.0 / 3));
  const ImageDifference folded = diffImage(lensCamera(0, 0), lensCamera(-0.5, 0));
  EXPECT_GT(beyond_fold, 100);
  EXPECT_EQ(folded.as_is.not_imaged, beyond_fold);
  EXPECT_EQ(folded.as_is.without_ray, 0);
  EXPECT_EQ(folded.as_is.compared, 61 * 46 - beyond_fold);
  // 1 - 1.5 r^2 has its zero, a pole, at the same place.
  const ImageDifference poled = diffImage(lensCamera(0, 0), lensCamera(0, -1.5));
  EXPECT_EQ(poled.as_is.not_imaged, beyond_fold);
}

TEST(CalibrationDiff, WhatIsNoCameraHasNoRays) {
  CameraCalibration none = pinholeCamera("a", 100, 100);
  none.mutable_intrinsics()->set_fx(0);
  const ImageDifference image = diffImage(none, pinholeCamera("a", 100, 100));
  EXPECT_EQ(image.as_is.without_ray, 61 * 61);
  EXPECT_TRUE(std::isnan(image.rotated.rms));
  EXPECT_THAT(image.rotation, ElementsAre(0, 0, 0));
  CameraCalibration empty = pinholeCamera("a", 0, -5);
  EXPECT_EQ(diffImage(empty, empty).as_is.compared, 0);
}

TEST(CalibrationDiff, ASlimImageHasABoundedGrid) {
  const CameraCalibration slim = pinholeCamera("a", 1, 2000000000);
  EXPECT_EQ(diffImage(slim, slim).as_is.compared, 61 * 16 * 61);
  const CameraCalibration flat = pinholeCamera("a", 60000, 1);
  EXPECT_EQ(diffImage(flat, flat).as_is.compared, 61 * 2);
}

TEST(CalibrationDiff, AnyMessagesAreCompared) {
  const testing::ScopedLogCapture log;
  std::mt19937 random(20);
  int compared = 0;
  for (int i = 0; i < 300; ++i) {
    RobotCalibration a;
    RobotCalibration b;
    for (RobotCalibration* robot : {&a, &b}) {
      CameraCalibration camera = testing::mutated(pinholeCamera("a", 640, 480), &random);
      camera.set_name("a");
      camera.set_model("");  // no fit, which takes its time
      *robot->add_camera_calibration() = camera;
    }
    const auto difference = diffCalibrations(a, b);
    if (difference && !difference->cameras.empty()) ++compared;
  }
  EXPECT_GT(compared, 30);
}

}  // namespace
}  // namespace norv::calibration
