/// Two calibrations of fixed cameras, compared in pixels.

#include "calibration_common/calibration_diff.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <Eigen/Core>
#include <cmath>
#include <functional>
#include <limits>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "support/camera_projection.h"
#include "testing/calibration_edits.h"
#include "testing/calibration_messages.h"
#include "testing/log_capture.h"
#include "testing/random_message.h"

namespace norv::calibration {
namespace {

using testing::defaultRobot;
using testing::defaultRobotWith;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::pinholeCamera;
using testing::robotOf;

constexpr double kDegrees = 180 / 3.14159265358979323846;

/// The camera that both have, which must be the only one asked for.
CameraDifference diffCamera(const RobotCalibration& a, const RobotCalibration& b,
                            const DiffOptions& options = {}) {
  const auto difference = diffCalibrations(a, b, options);
  EXPECT_TRUE(difference);
  if (!difference || difference->cameras.size() != 1) {
    ADD_FAILURE() << "there is not one camera";
    return {};
  }
  return difference->cameras.front();
}

/// Cameras of one size.
ImageDifference diffImage(const CameraCalibration& a, const CameraCalibration& b,
                          const DiffOptions& options = {}) {
  const CameraDifference camera = diffCamera(robotOf({a}), robotOf({b}), options);
  EXPECT_EQ(camera.images.size(), 1U);
  return camera.images.empty() ? ImageDifference{} : camera.images.front();
}

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

TEST(CalibrationDiff, CameraTurnedRoundImagesNothing) {
  CameraCalibration b = pinholeCamera("a", 100, 100);
  b.mutable_extrinsics()->set_a(0, -1);
  b.mutable_extrinsics()->set_a(10, -1);
  const CameraDifference camera = diffCamera(robotOf({pinholeCamera("a", 100, 100)}), robotOf({b}));
  EXPECT_NEAR(camera.pose.angle, 3.14159265358979323846, 1e-15);
  const PixelDifference& pixels = camera.images.at(0).on_robot.at(0).pixels;
  EXPECT_EQ(pixels.compared, 0);
  EXPECT_EQ(pixels.not_imaged, 61 * 61);
  EXPECT_TRUE(std::isnan(pixels.max) && std::isnan(pixels.median) && std::isnan(pixels.rms));
  EXPECT_TRUE(std::isnan(pixels.worst_u) && std::isnan(pixels.worst_v));
  EXPECT_EQ(camera.images.at(0).as_is.compared, 61 * 61);
}

TEST(CalibrationDiff, ATurnOfThePoseShowsOnTheRobotAlone) {
  CameraCalibration b = pinholeCamera("a", 1000, 1000);
  const double w = 0.01;
  const double rows[] = {std::cos(w), 0, std::sin(w),  0, 0,           1,
                         0,           0, -std::sin(w), 0, std::cos(w), 0};
  for (int i = 0; i < 12; ++i) b.mutable_extrinsics()->set_a(i, rows[i]);
  const CameraDifference camera =
      diffCamera(robotOf({pinholeCamera("a", 1000, 1000)}), robotOf({b}));
  EXPECT_NEAR(camera.pose.angle, w, 1e-15);
  EXPECT_EQ(camera.images.at(0).as_is.max, 0);
  double squares = 0;
  for (int r = 0; r < 61; ++r) {
    for (int c = 0; c < 61; ++c) {
      const double x = c / 60.0 - 0.5;
      const double y = r / 60.0 - 0.5;
      const double depth = std::cos(w) - std::sin(w) * x;
      squares += std::pow((std::cos(w) * x + std::sin(w)) / depth - x, 2);
      squares += std::pow(y / depth - y, 2);
    }
  }
  EXPECT_NEAR(camera.images.at(0).on_robot.at(0).pixels.rms, 1000 * std::sqrt(squares / (61 * 61)),
              1e-9);
}

TEST(CalibrationDiff, MovementOfTheCentreIsInTheRobotsFrame) {
  // Camera from robot with x right = -y, y down = -z, z ahead = x; the centre at (1, 2, 3) m and
  // then at (1.01, 2, 2.98) m.
  CameraCalibration a = pinholeCamera("a", 100, 100);
  CameraCalibration b = a;
  const double rows_a[] = {0, -1, 0, 2000, 0, 0, -1, 3000, 1, 0, 0, -1000};
  const double rows_b[] = {0, -1, 0, 2000, 0, 0, -1, 2980, 1, 0, 0, -1010};
  for (int i = 0; i < 12; ++i) {
    a.mutable_extrinsics()->set_a(i, rows_a[i]);
    b.mutable_extrinsics()->set_a(i, rows_b[i]);
  }
  const PoseDifference pose = diffCamera(robotOf({a}), robotOf({b})).pose;
  EXPECT_EQ(pose.angle, 0);
  EXPECT_NEAR(pose.movement[0], 0.01, 1e-15);
  EXPECT_NEAR(pose.movement[1], 0, 1e-15);
  EXPECT_NEAR(pose.movement[2], -0.02, 1e-15);
  EXPECT_NEAR(pose.distance, std::hypot(0.01, 0.02), 1e-15);
}

TEST(CalibrationDiff, OnTheRobotAtADistance) {
  // B stands 30 mm to the right of A, so that everything moves to the left in its picture.
  CameraCalibration b = pinholeCamera("a", 1000, 1000);
  b.mutable_extrinsics()->set_a(3, -30);
  DiffOptions options;
  options.distances = {3, std::numeric_limits<double>::infinity()};
  const ImageDifference image = diffImage(pinholeCamera("a", 1000, 1000), b, options);
  ASSERT_EQ(image.on_robot.size(), 2U);
  EXPECT_EQ(image.on_robot[0].distance, 3);
  EXPECT_EQ(image.on_robot[1].pixels.max, 0);
  // The point in 3 m on the ray (x, y, 1) has the depth z = 3 / |(x, y, 1)|, and moves by f 0.03 /
  // z: by 10 px on the axis, which is a pixel of the grid, and most in the corners.
  const double corner = std::sqrt(1 + 2 * 0.25);
  EXPECT_NEAR(image.on_robot[0].pixels.max, 10 * corner, 1e-9);
  double squares = 0;
  for (int r = 0; r < 61; ++r) {
    for (int c = 0; c < 61; ++c) {
      const double x = c / 60.0 - 0.5;
      const double y = r / 60.0 - 0.5;
      squares += 100 * (1 + x * x + y * y);
    }
  }
  EXPECT_NEAR(image.on_robot[0].pixels.rms, std::sqrt(squares / (61 * 61)), 1e-9);
}

TEST(CalibrationDiff, CamerasOfOneCalibrationAloneAreListed) {
  const auto difference =
      diffCalibrations(robotOf({pinholeCamera("a", 10, 10), pinholeCamera("b", 10, 10)}),
                       robotOf({pinholeCamera("c", 10, 10), pinholeCamera("b", 10, 10)}));
  ASSERT_TRUE(difference);
  ASSERT_EQ(difference->cameras.size(), 1U);
  EXPECT_EQ(difference->cameras[0].name, "b");
  EXPECT_THAT(difference->only_in_a, ElementsAre("a"));
  EXPECT_THAT(difference->only_in_b, ElementsAre("c"));
}

TEST(CalibrationDiff, SizesOfOneCalibrationAloneAreListed) {
  const auto other = defaultRobotWith(
      "navigation_camera", [](CameraCalibration* camera) { camera->set_model("another"); });
  DiffOptions options;
  options.camera = "navigation_camera";
  const CameraDifference camera = diffCamera(defaultRobot(), other, options);
  ASSERT_EQ(camera.images.size(), 1U);
  EXPECT_EQ(camera.images[0].a.height, 960);
  EXPECT_THAT(camera.only_in_a, ElementsAre(PixelSize{640, 480}, PixelSize{1280, 720}));
  EXPECT_THAT(camera.only_in_b, IsEmpty());
  const CameraDifference reverse = diffCamera(other, defaultRobot(), options);
  EXPECT_THAT(reverse.only_in_a, IsEmpty());
  EXPECT_THAT(reverse.only_in_b, ElementsAre(PixelSize{640, 480}, PixelSize{1280, 720}));
}

TEST(CalibrationDiff, ASizeThatIsAskedForIsThatWhichTheCameraGives) {
  DiffOptions options;
  options.camera = "navigation_camera";
  options.size = PixelSize{320, 240};
  const auto changed = defaultRobotWith("navigation_camera", [](CameraCalibration* camera) {
    camera->mutable_intrinsics()->set_cx(644);
  });
  const CameraDifference camera = diffCamera(defaultRobot(), changed, options);
  ASSERT_EQ(camera.images.size(), 1U);
  EXPECT_EQ(camera.images[0].a.width, 320);
  EXPECT_EQ(camera.images[0].a.fx, 226.25F);
  EXPECT_NEAR(camera.images[0].as_is.max, 1, 1e-9);
}

TEST(CalibrationDiff, OfCamerasThatShareANameTheLastCounts) {
  CameraCalibration first = pinholeCamera("a", 100, 100);
  first.mutable_intrinsics()->set_cx(99);
  const auto difference = diffCalibrations(robotOf({first, pinholeCamera("a", 100, 100)}),
                                           robotOf({pinholeCamera("a", 100, 100)}));
  ASSERT_TRUE(difference);
  ASSERT_EQ(difference->cameras.size(), 1U);
  EXPECT_EQ(difference->cameras[0].images.at(0).as_is.max, 0);
}

TEST(CalibrationDiff, TheWarpedImageIsComparedAsItIsFitted) {
  // Samples half a pixel to the right move the fitted camera and no other image.
  const auto shifted = defaultRobotWith("head_camera", [](CameraCalibration* camera) {
    for (SamplePoint& point : *camera->mutable_intrinsics()->mutable_samples()) {
      point.set_image_x(point.image_x() + 0.5F);
    }
  });
  DiffOptions options;
  options.camera = "head_camera";
  const CameraDifference camera = diffCamera(defaultRobot(), shifted, options);
  ASSERT_EQ(camera.images.size(), 3U);
  EXPECT_EQ(camera.images[0].a.width, 640);
  EXPECT_GT(camera.images[0].as_is.max, 0.05);
  EXPECT_EQ(camera.images[1].as_is.max, 0);
  EXPECT_EQ(camera.images[2].as_is.max, 0);
}

TEST(CalibrationDiff, ACalibrationThatDoesNotLoadIsAReason) {
  const testing::ScopedLogCapture log;
  CameraCalibration broken = pinholeCamera("b", 100, 100);
  broken.mutable_intrinsics()->mutable_radial()->Truncate(3);
  const RobotCalibration good = robotOf({pinholeCamera("a", 100, 100)});
  const RobotCalibration bad = robotOf({pinholeCamera("a", 100, 100), broken});
  DiffProblem problem;
  EXPECT_FALSE(diffCalibrations(good, bad, {}, &problem));
  EXPECT_TRUE(problem.is_in_b);
  EXPECT_EQ(problem.problem.field, "camera_calibration[1].intrinsics.radial");
  EXPECT_EQ(problem.problem.sentence, "holds 3 values, at least 6 are needed");
  EXPECT_FALSE(diffCalibrations(bad, good, {}, &problem));
  EXPECT_FALSE(problem.is_in_b);
  EXPECT_FALSE(diffCalibrations(bad, good));
  DiffOptions options;
  options.camera = "a";
  EXPECT_TRUE(diffCalibrations(good, bad, options)) << "the other camera was not asked for";
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
