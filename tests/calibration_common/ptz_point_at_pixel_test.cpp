// A world point to a pixel: PTZCameraModelConfiguration::getPanTilt of a world point.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "calibration_common/ptz_camera_model.h"
#include "support/camera_projection.h"
#include "testing/example_ptz.h"
#include "testing/log_capture.h"
#include "testing/ptz_pointing.h"
#include "testing/random_head.h"

namespace norv::calibration {
namespace {

using ::testing::ElementsAre;
using testing::examplePtz;
using testing::kRadians;
using testing::lines;
using testing::LogLine;
using testing::narrow;
using testing::plainPtz;
using testing::pointingError;
using testing::Position;
using testing::ptzModel;
using testing::randomPixel;
using testing::randomPosition;
using testing::ScopedLogCapture;
using testing::threeSamples;
using testing::uniform;

TEST(PointAtPixel, ByHandUnroundedAndUnlimited) {
  PTZCameraParameters params = plainPtz(threeSamples());
  params.mutable_pan_tilt()->set_min_pan(-1);
  params.mutable_pan_tilt()->set_max_pan(1);
  params.mutable_pan_tilt()->set_min_tilt(-1);
  params.mutable_pan_tilt()->set_max_tilt(1);
  const PTZCameraModelConfiguration configuration(ptzModel(params), 0, 0, 70);
  float pan = 0;
  float tilt = 0;
  EXPECT_TRUE(configuration.getPanTilt({3, -4, 12}, {1000, 500}, &pan, &tilt));
  // Measured: 1.6e-4 steps.
  EXPECT_NEAR(static_cast<double>(pan), std::atan2(4, 3) / 0.0005, 6e-4);
  EXPECT_NEAR(static_cast<double>(tilt), std::atan2(12, 5) / 0.0005, 6e-4);
  EXPECT_NE(pan, std::round(pan));
  // Straight ahead, brought to the pixel one focal length to the right: 45 degrees to the left.
  EXPECT_TRUE(configuration.getPanTilt({7, 0, 0}, {2000, 500}, &pan, &tilt));
  EXPECT_NEAR(static_cast<double>(pan), -45 * kRadians / 0.0005, 5e-4);
  EXPECT_NEAR(static_cast<double>(tilt), 0, 5e-4);
}

TEST(PointAtPixel, IsTheSolversAnswerForTheRectifiedPixel) {
  std::mt19937_64 random(102);
  const PTZCameraModelPtr model = ptzModel(examplePtz());
  for (int trial = 0; trial < 500; ++trial) {
    const Position now = randomPosition(&random);
    const PTZCameraModelConfiguration configuration(model, now.pan, now.tilt, now.zoom);
    const Vector2_f pixel = randomPixel(&random);
    const Vector3_f world(narrow(uniform(&random, -9, 9)), narrow(uniform(&random, -9, 9)),
                          narrow(uniform(&random, 0, 3)));
    const Matrix3x3_f& k = configuration.getIntrinsics();
    const float principal_point[] = {k(0, 2), k(1, 2)};
    const float focal_lengths[] = {k(0, 0), k(1, 1)};
    const Vector2_f dev = calibration::rectifyPoint(configuration.getDistortion().data(),
                                                    principal_point, focal_lengths, pixel);
    float pan = -1;
    float tilt = -1;
    float expected_pan = -1;
    float expected_tilt = -1;
    EXPECT_EQ(configuration.getPanTilt(world, pixel, &pan, &tilt),
              model->getPanTiltModel().computePanTilt(world, dev, &expected_pan, &expected_tilt));
    EXPECT_EQ(pan, expected_pan);
    EXPECT_EQ(tilt, expected_tilt);
  }
}

TEST(PointAtPixel, ThePointAppearsAtThePixel) {
  std::mt19937_64 random(103);
  PTZCameraParameters params = examplePtz();
  // Steps so fine that rounding to them does not show.
  params.mutable_pan_tilt()->set_pan_scale(1e-8F);
  params.mutable_pan_tilt()->set_tilt_scale(1e-8F);
  const PTZCameraModelPtr model = ptzModel(params);
  double worst = 0;
  for (int trial = 0; trial < 1000; ++trial) {
    const int zoom = static_cast<int>(uniform(&random, 0, 10000));
    const PTZCameraModelConfiguration now(model, 0, 0, zoom);
    const Vector2_f pixel = randomPixel(&random);
    const Vector3_f world(narrow(uniform(&random, 2, 9)), narrow(uniform(&random, -9, 9)),
                          narrow(uniform(&random, 0, 3)));
    float pan = 0;
    float tilt = 0;
    ASSERT_TRUE(now.getPanTilt(world, pixel, &pan, &tilt));
    const PTZCameraModelConfiguration then(model, static_cast<int>(pan), static_cast<int>(tilt),
                                           zoom);
    const double missed = static_cast<double>((then.project3dToCamera(world) - pixel).norm());
    worst = std::max(worst, missed / static_cast<double>(now.getIntrinsics()(0, 0)));
  }
  // Radians, all in single precision. Measured: 1.2e-7.
  EXPECT_LT(worst, 6e-7);
}

TEST(PointAtPixel, WritesTheResultOfAHighResidual) {
  PTZCameraParameters params = plainPtz(threeSamples());
  params.mutable_pan_tilt()->mutable_tilt_to_camera()->set_a(3, 3.4);
  const PTZCameraModelConfiguration configuration(ptzModel(params), 0, 0, 70);
  ScopedLogCapture capture(kLogWarning);
  float pan = -1;
  float tilt = -1;
  EXPECT_FALSE(configuration.getPanTilt({0, 0, 2}, {1000, 500}, &pan, &tilt));
  EXPECT_EQ(pan, 0);
  EXPECT_NEAR(static_cast<double>(tilt), 90 * kRadians / 0.0005, 1e-3);
  EXPECT_THAT(lines(capture.take()),
              ElementsAre(LogLine{3, "pan_tilt_model",
                                  "High residual error for pan tilt: world=0\n0\n2 dev=0\n0 "
                                  "error=1.156e-05"}));
}

TEST(PointAtPixel, FailsWithNothingWrittenAtTheLastSampleAndBeyond) {
  for (const int zoom : {270, 300}) {
    const PTZCameraModelConfiguration configuration(ptzModel(plainPtz(threeSamples())), 0, 0, zoom);
    ScopedLogCapture capture(kLogWarning);
    float pan = -1;
    float tilt = -2;
    EXPECT_FALSE(configuration.getPanTilt({3, -4, 12}, {1000, 500}, &pan, &tilt));
    EXPECT_EQ(pan, -1);
    EXPECT_EQ(tilt, -2);
    EXPECT_THAT(lines(capture.take()),
                ElementsAre(pointingError("Could not find solutions for pan tilt: world= 3\n-4\n12 "
                                          "dev=nan\nnan")));
  }
}

}  // namespace
}  // namespace norv::calibration
