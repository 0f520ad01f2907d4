// How long a review of much data takes, in time of the processor.

#include <gtest/gtest.h>

#include <ctime>
#include <string>

#include "calibration_common/calibration_review.h"
#include "testing/review_findings.h"
#include "testing/sanitized.h"

namespace norv::calibration {
namespace {

using testing::defaultRobot;

template <class Message>
double secondsFor(const Message& message) {
  const std::clock_t start = std::clock();
  reviewCalibration(message);
  return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

TEST(CalibrationReviewSpeedTest, ReviewsManyCamerasInTime) {
  const CameraCalibration navigation = defaultRobot().camera_calibration(testing::kNavigation);
  RobotCalibration robot;
  for (int i = 0; i < 50000; ++i) {
    CameraCalibration* camera = robot.add_camera_calibration();
    *camera = navigation;
    camera->set_name(std::to_string(i));
    camera->mutable_extrinsics()->set_a(3, 0.1 * (i + 1));  // millimetres
  }
  EXPECT_TRUE(reviewCalibration(robot).empty());
  EXPECT_LT(secondsFor(robot), testing::allowedSeconds(5));
}

// Every finding has its numbers computed, but few have a sentence.
TEST(CalibrationReviewSpeedTest, ReviewsManyWrongCamerasInTime) {
  CameraCalibration wrong = defaultRobot().camera_calibration(testing::kNavigation);
  wrong.mutable_intrinsics()->set_radial(0, -5);
  wrong.mutable_intrinsics()->set_skew(1);
  wrong.mutable_extrinsics()->set_a(0, 2);
  RobotCalibration robot;
  for (int i = 0; i < 50000; ++i) *robot.add_camera_calibration() = wrong;
  EXPECT_TRUE(testing::hasError(reviewCalibration(robot)));
  EXPECT_LT(secondsFor(robot), testing::allowedSeconds(5));
}

TEST(CalibrationReviewSpeedTest, ReviewsManySamplesInTime) {
  RobotCalibration robot = defaultRobot();
  CameraIntrinsics* in = robot.mutable_camera_calibration(testing::kHead)->mutable_intrinsics();
  const CameraIntrinsics few = *in;
  for (int i = in->samples_size(); i < 1000000; ++i) {
    *in->add_samples() = few.samples(i % few.samples_size());
  }
  EXPECT_LT(secondsFor(robot), testing::allowedSeconds(10));
}

TEST(CalibrationReviewSpeedTest, ReviewsManyZoomSamplesInTime) {
  PTZCameraParameters ptz;
  PTZIntrinsicsTable* table = ptz.mutable_intrinsics();
  table->set_image_width(1920);
  table->set_image_height(1080);
  table->set_zoom_interval(1);
  for (int i = 0; i < 1000000; ++i) {
    PTZIntrinsicsItem* sample = table->add_samples();
    sample->set_zoom(i);
    sample->set_focal_length(1500 + 0.01 * i);
    sample->set_cx(960);
    sample->set_cy(540);
    sample->set_k1(-0.05);
  }
  EXPECT_LT(secondsFor(ptz), testing::allowedSeconds(20));
}

}  // namespace
}  // namespace norv::calibration
