// A pixel to the centre of the picture: PTZCameraModelConfiguration::getPanTilt of a pixel.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

#include "calibration_common/ptz_camera_model.h"
#include "testing/example_ptz.h"
#include "testing/log_capture.h"
#include "testing/ptz_pointing.h"
#include "testing/random_head.h"

namespace norv::calibration {
namespace {

using testing::centrePixel;
using ::testing::ElementsAre;
using testing::examplePtz;
using ::testing::IsEmpty;
using testing::kAhead;
using testing::kNotWritten;
using testing::kRadians;
using testing::Move;
using testing::narrow;
using testing::plainPtz;
using testing::pointingError;
using testing::PointingOutcome;
using testing::Position;
using testing::ptzModel;
using testing::randomPixel;
using testing::randomPosition;
using testing::ScopedLogCapture;
using testing::threeSamples;
using testing::uniform;

constexpr int kMaxInt = std::numeric_limits<int>::max();
constexpr int kMinInt = std::numeric_limits<int>::min();

TEST(CenterPixel, ByHand) {
  // One focal length to the right: 45 degrees, 1570.8 steps. Then up.
  PointingOutcome outcome = centrePixel(plainPtz(threeSamples()), kAhead, {2000, 500});
  EXPECT_TRUE(outcome.solved);
  EXPECT_EQ(outcome.position, (Position{1571, 0, kNotWritten}));
  EXPECT_THAT(outcome.logs, IsEmpty());
  outcome = centrePixel(plainPtz(threeSamples()), kAhead, {1000, -500});
  EXPECT_TRUE(outcome.solved);
  EXPECT_EQ(outcome.position, (Position{0, 1571, kNotWritten}));
}

TEST(CenterPixel, ThePrincipalPointIsWhereTheCameraLooksAlready) {
  std::mt19937_64 random(100);
  const PTZCameraParameters params = examplePtz();
  const PTZCameraModelPtr model = ptzModel(params);
  for (int trial = 0; trial < 500; ++trial) {
    const Position now = {static_cast<int>(uniform(&random, -5900, 5900)),
                          static_cast<int>(uniform(&random, -1000, 3000)),
                          static_cast<int>(uniform(&random, 0, 10000))};
    const PTZCameraModelConfiguration configuration(model, now.pan, now.tilt, now.zoom);
    const Matrix3x3_f& k = configuration.getIntrinsics();
    Position then = {kNotWritten, kNotWritten, now.zoom};
    EXPECT_TRUE(configuration.getPanTilt({k(0, 2), k(1, 2)}, &then.pan, &then.tilt));
    EXPECT_EQ(then, now);
  }
}

TEST(CenterPixel, TheTargetIsOneMetreAway) {
  // The camera is half a metre ahead of the pan axis. 45 degrees to the right of it, at 1 m, is
  // atan(0.7071 / 1.2071) = 30.36 degrees, or 1059.8 steps, from the axis.
  PTZCameraParameters params = plainPtz(threeSamples());
  params.mutable_pan_tilt()->mutable_tilt_to_camera()->set_a(11, -500);
  const PointingOutcome outcome = centrePixel(params, kAhead, {2000, 500});
  EXPECT_TRUE(outcome.solved);
  EXPECT_EQ(outcome.position, (Position{1060, 0, kNotWritten}));
}

TEST(CenterPixel, RoundsHalfAwayFromZero) {
  // Steps of 90 degrees, and half way between two of them the angle zero: where, from 45 degrees to
  // the left, a pixel 45 degrees to the right is.
  for (const int sign : {1, -1}) {
    PTZCameraParameters params = plainPtz(threeSamples());
    params.mutable_pan_tilt()->set_pan_scale(narrow(90 * kRadians));
    params.mutable_pan_tilt()->set_pan_offset(2.5F * narrow(sign));
    const Position now = {2 * sign, 0, 70};
    const Vector2_f pixel(1000 + 1000 * narrow(sign), 500);
    const PTZCameraModelConfiguration configuration(ptzModel(params), now.pan, now.tilt, now.zoom);
    float pan = 0;
    float tilt = 0;
    ASSERT_TRUE(
        configuration.getPanTilt(configuration.projectPixelToRay(pixel), {1000, 500}, &pan, &tilt));
    ASSERT_EQ(pan, 2.5F * narrow(sign));
    EXPECT_EQ(centrePixel(params, now, pixel).position, (Position{3 * sign, 0, kNotWritten}));
    // Rounding comes before the limits.
    params.mutable_pan_tilt()->set_max_pan(2);
    params.mutable_pan_tilt()->set_min_pan(-2);
    EXPECT_EQ(centrePixel(params, now, pixel).position, (Position{2 * sign, 0, kNotWritten}));
  }
}

TEST(CenterPixel, RoundsTiltTheSameWay) {
  for (const int sign : {1, -1}) {
    PTZCameraParameters params = plainPtz(threeSamples());
    params.mutable_pan_tilt()->set_tilt_scale(narrow(90 * kRadians));
    params.mutable_pan_tilt()->set_tilt_offset(2.5F * narrow(sign));
    // Looking down by 45 degrees for the positive sign, and at a pixel up by as much.
    const PointingOutcome outcome =
        centrePixel(params, {0, 2 * sign, 70}, {1000, 500 - 1000 * narrow(sign)});
    EXPECT_EQ(outcome.position, (Position{0, 3 * sign, kNotWritten}));
  }
}

/// The pixel 45 degrees to the right and 35.26 degrees up with these limits: 1571 and 1231 steps
/// without.
Position limitedTo(void (*set)(PanTiltSystemParameters*)) {
  PTZCameraParameters params = plainPtz(threeSamples());
  set(params.mutable_pan_tilt());
  return centrePixel(params, kAhead, {2000, -500}).position;
}

TEST(CenterPixel, LimitsApplyWhereTheyArePresent) {
  const auto expect = [](const Position& position, int pan, int tilt) {
    EXPECT_EQ(position, (Position{pan, tilt, kNotWritten}));
  };
  expect(limitedTo([](PanTiltSystemParameters*) {}), 1571, 1231);
  expect(limitedTo([](PanTiltSystemParameters* head) { head->set_max_pan(1000); }), 1000, 1231);
  expect(limitedTo([](PanTiltSystemParameters* head) { head->set_min_pan(2000); }), 2000, 1231);
  expect(limitedTo([](PanTiltSystemParameters* head) { head->set_max_tilt(-5); }), 1571, -5);
  expect(limitedTo([](PanTiltSystemParameters* head) { head->set_min_tilt(1232); }), 1571, 1232);
  // A limit of zero is present too.
  expect(limitedTo([](PanTiltSystemParameters* head) { head->set_max_tilt(0); }), 1571, 0);
}

TEST(CenterPixel, TheMaximumWinsOverALargerMinimum) {
  const Position position = limitedTo([](PanTiltSystemParameters* head) {
    head->set_min_pan(3000);
    head->set_max_pan(-3000);
    head->set_min_tilt(50);
    head->set_max_tilt(40);
  });
  EXPECT_EQ(position, (Position{-3000, 40, kNotWritten}));
}

TEST(CenterPixel, ResultsBeyondIntSaturateBeforeTheLimits) {
  PTZCameraParameters params = plainPtz(threeSamples());
  params.mutable_pan_tilt()->set_pan_scale(1e-12F);
  params.mutable_pan_tilt()->set_tilt_scale(-1e-12F);
  EXPECT_EQ(centrePixel(params, kAhead, {2000, -500}).position,
            (Position{kMaxInt, kMinInt, kNotWritten}));
  params.mutable_pan_tilt()->set_max_pan(10);
  params.mutable_pan_tilt()->set_min_tilt(-20);
  EXPECT_EQ(centrePixel(params, kAhead, {2000, -500}).position, (Position{10, -20, kNotWritten}));
}

TEST(CenterPixel, ZeroScales) {
  PTZCameraParameters params = plainPtz(threeSamples());
  params.mutable_pan_tilt()->set_pan_scale(0);
  params.mutable_pan_tilt()->set_tilt_scale(0);
  PointingOutcome outcome = centrePixel(params, kAhead, {2000, -500});
  EXPECT_TRUE(outcome.solved);
  EXPECT_EQ(outcome.position, (Position{kMaxInt, kMaxInt, kNotWritten}));
  // Straight ahead 0 / 0 steps are wanted: no number, which counts as 0.
  outcome = centrePixel(params, kAhead, {1000, 500});
  EXPECT_TRUE(outcome.solved);
  EXPECT_EQ(outcome.position, (Position{0, 0, kNotWritten}));
}

TEST(CenterPixel, FailsWithNothingWrittenWhenTheResidualIsLarge) {
  // The camera looks up from 0.2 m beside the pan axis, at a point one metre away and 0.05 m beside
  // that axis: no pan and tilt bring the optical axis nearer to it than 0.15 m. The solver does
  // write a result.
  PTZCameraParameters params = plainPtz(threeSamples());
  params.mutable_pan_tilt()->mutable_tilt_to_camera()->set_a(3, 200);
  params.mutable_pan_tilt()->set_tilt_scale(narrow(90 * kRadians));
  const float x = 1000 + 1000 * narrow(std::tan(std::asin(0.15)));
  const PointingOutcome outcome = centrePixel(params, {0, 1, 70}, {x, 500});
  EXPECT_FALSE(outcome.solved);
  EXPECT_EQ(outcome.position, Position());
  ASSERT_EQ(outcome.logs.size(), 1U);
  EXPECT_EQ(outcome.logs[0].level, kLogError);
  EXPECT_THAT(outcome.logs[0].text,
              ::testing::StartsWith("Large residual error for pan tilt: world="));
}

TEST(CenterPixel, FailsWithNothingWrittenWhereThereIsNoRay) {
  for (const float bad : {std::nanf(""), std::numeric_limits<float>::infinity()}) {
    const PointingOutcome outcome = centrePixel(plainPtz(threeSamples()), kAhead, {bad, 500});
    EXPECT_FALSE(outcome.solved);
    EXPECT_EQ(outcome.position, Position());
    EXPECT_THAT(outcome.logs, ElementsAre(pointingError("Could not find solutions for pan tilt: "
                                                        "world=nan\nnan\nnan dev=0\n0")));
  }
}

TEST(CenterPixel, FailsWithNothingWrittenAtTheLastSampleAndBeyond) {
  for (const int zoom : {270, 271, 1000, kMaxInt}) {
    const PointingOutcome outcome =
        centrePixel(plainPtz(threeSamples()), {0, 0, zoom}, {1000, 500});
    EXPECT_FALSE(outcome.solved);
    EXPECT_EQ(outcome.position, Position());
    EXPECT_THAT(outcome.logs, ElementsAre(pointingError("Could not find solutions for pan tilt: "
                                                        "world=nan\nnan\nnan dev=0\n0")));
  }
}

TEST(CenterPixel, WithoutAHeadItFailsWithNothingWritten) {
  PTZCameraParameters params = examplePtz();
  params.clear_pan_tilt();
  ScopedLogCapture quiet(kLogFatal);
  const PTZCameraModelConfiguration configuration(ptzModel(params), 0, 0, 0);
  Position position;
  EXPECT_FALSE(configuration.getPanTilt({960, 540}, &position.pan, &position.tilt));
  EXPECT_FALSE(configuration.getPanTiltZoom({9, 5}, {99, 55}, &position.pan, &position.tilt,
                                            &position.zoom));
  EXPECT_EQ(position, Position());
}

TEST(CenterPixel, ThePixelReprojectsToTheOpticalAxis) {
  std::mt19937_64 random(101);
  Move move{ptzModel(examplePtz()), {}, {}};
  double worst_exact = 0;
  double worst_rounded = 0;
  for (int trial = 0; trial < 3000; ++trial) {
    move.before = randomPosition(&random);
    const auto now = move.configuration();
    const Vector2_f pixel = randomPixel(&random);
    const Vector3_f target = now.getCameraCenter() + now.projectPixelToRay(pixel).normalized();
    float pan = 0;
    float tilt = 0;
    ASSERT_TRUE(move.model->getPanTiltModel().computePanTilt(target, {0, 0}, &pan, &tilt));
    const Eigen::Vector4d p = target.cast<double>().homogeneous();
    Eigen::Vector4d q =
        testing::cameraFromBaseAtSteps(move.model->getParams().pan_tilt(),
                                       {static_cast<double>(pan), static_cast<double>(tilt)}) *
        p;
    ASSERT_GT(q.z(), 0);
    worst_exact = std::max(worst_exact, q.head<2>().norm() / q.z());
    ASSERT_TRUE(now.getPanTilt(pixel, &move.after.pan, &move.after.tilt));
    q = move.cameraFromWorld(move.after) * p;
    worst_rounded = std::max(worst_rounded, q.head<2>().cwiseAbs().maxCoeff() / q.z() / 0.0005);
  }
  // Radians. Measured: 1.5e-7.
  EXPECT_LT(worst_exact, 6e-7);
  // Steps to each side; half a step is the rounding, and the camera is some 55 mm nearer to the
  // target than the joints are. Measured: 0.525.
  EXPECT_LT(worst_rounded, 0.535);
}

}  // namespace
}  // namespace norv::calibration
