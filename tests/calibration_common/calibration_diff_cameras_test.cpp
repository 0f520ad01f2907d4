// Which cameras, sizes and poses are compared.

#include "calibration_common/calibration_diff.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "testing/calibration_edits.h"
#include "testing/calibration_messages.h"
#include "testing/log_capture.h"
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
using testing::robotOf;

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

}  // namespace
}  // namespace norv::calibration
