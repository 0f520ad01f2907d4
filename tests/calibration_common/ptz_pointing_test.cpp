// Where a pan-tilt-zoom camera must move: the pointing of PTZCameraModelConfiguration.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <Eigen/LU>
#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "calibration_common/ptz_camera_model.h"
#include "support/camera_projection.h"
#include "tests/testing/example_ptz.h"
#include "tests/testing/log_capture.h"
#include "tests/testing/random_head.h"

namespace norv::calibration {
namespace {

using ::testing::ElementsAre;
using testing::examplePtz;
using testing::headWithoutLeverArms;
using ::testing::IsEmpty;
using testing::kRadians;
using testing::lines;
using testing::LogLine;
using testing::ptzModel;
using testing::ScopedLogCapture;
using testing::uniform;

constexpr int kLargest = std::numeric_limits<int>::max();
constexpr int kLowest = std::numeric_limits<int>::min();
constexpr int kUntouched = -12345;

float narrow(double value) { return static_cast<float>(value); }

/// A lens without distortion at 2000 x 1000, its axis through the middle, of (zoom, focal length).
PTZIntrinsicsTable lensOf(const std::vector<std::pair<double, double>>& samples, int interval) {
  PTZIntrinsicsTable lens;
  lens.set_image_width(2000);
  lens.set_image_height(1000);
  lens.set_zoom_start(static_cast<int>(samples.front().first));
  lens.set_zoom_interval(interval);
  for (const auto& [zoom, focal_length] : samples) {
    PTZIntrinsicsItem* sample = lens.add_samples();
    sample->set_zoom(zoom);
    sample->set_focal_length(focal_length);
    sample->set_cx(1000);
    sample->set_cy(500);
  }
  return lens;
}

/// Focal lengths 1000, 2000 and 4000 at the zooms 70, 170 and 270.
PTZIntrinsicsTable threeSamples() { return lensOf({{70, 1000}, {170, 2000}, {270, 4000}}, 100); }

/// A camera at `zoom` whose pan and tilt are not limited and whose rays start at the origin, so
/// that angles can be told by hand.
PTZCameraParameters plainPtz(const PTZIntrinsicsTable& lens) {
  PTZCameraParameters params;
  *params.mutable_intrinsics() = lens;
  *params.mutable_pan_tilt() = headWithoutLeverArms();
  params.mutable_pan_tilt()->clear_min_pan();
  params.mutable_pan_tilt()->clear_max_pan();
  params.mutable_pan_tilt()->clear_min_tilt();
  params.mutable_pan_tilt()->clear_max_tilt();
  return params;
}

struct Position {
  int pan = kUntouched;
  int tilt = kUntouched;
  int zoom = kUntouched;

  friend bool operator==(const Position& a, const Position& b) {
    return a.pan == b.pan && a.tilt == b.tilt && a.zoom == b.zoom;
  }
  friend std::ostream& operator<<(std::ostream& out, const Position& p) {
    return out << p.pan << " " << p.tilt << " " << p.zoom;
  }
};

/// What a call returned, wrote and logged, the solver's info and debug lines left out.
struct Outcome {
  bool solved;
  Position position;
  std::vector<LogLine> logs;
};

std::vector<LogLine> withoutSolverTrace(const std::vector<LogLine>& logs) {
  std::vector<LogLine> result;
  for (const LogLine& line : logs) {
    if (line.channel != "pan_tilt_model" || line.level < kLogInfo) result.push_back(line);
  }
  return result;
}

Outcome center(const PTZCameraParameters& params, const Position& now, const Vector2_f& pixel) {
  const PTZCameraModelConfiguration configuration(ptzModel(params), now.pan, now.tilt, now.zoom);
  ScopedLogCapture capture;
  Outcome outcome;
  outcome.solved = configuration.getPanTilt(pixel, &outcome.position.pan, &outcome.position.tilt);
  outcome.logs = withoutSolverTrace(lines(capture.take()));
  return outcome;
}

Outcome frame(const PTZCameraParameters& params, const Position& now, const Vector2_f& corner,
              const Vector2_f& opposite) {
  const PTZCameraModelConfiguration configuration(ptzModel(params), now.pan, now.tilt, now.zoom);
  ScopedLogCapture capture;
  Outcome outcome;
  outcome.solved = configuration.getPanTiltZoom(corner, opposite, &outcome.position.pan,
                                                &outcome.position.tilt, &outcome.position.zoom);
  outcome.logs = withoutSolverTrace(lines(capture.take()));
  return outcome;
}

LogLine info(const std::string& text) { return {5, "ptz_camera_model", text}; }
LogLine solverError(const std::string& text) { return {2, "pan_tilt_model", text}; }

template <class T>
std::string streamed(const T& value) {
  std::ostringstream out;
  out << value;
  return out.str();
}

const Position kAhead = {0, 0, 70};

// ---------------------------------------------------------------------------- a pixel to the
// centre

TEST(CenterPixel, ByHand) {
  // One focal length to the right: 45 degrees, 1570.8 steps. Then up.
  Outcome outcome = center(plainPtz(threeSamples()), kAhead, {2000, 500});
  EXPECT_TRUE(outcome.solved);
  EXPECT_EQ(outcome.position, (Position{1571, 0, kUntouched}));
  EXPECT_THAT(outcome.logs, IsEmpty());
  outcome = center(plainPtz(threeSamples()), kAhead, {1000, -500});
  EXPECT_TRUE(outcome.solved);
  EXPECT_EQ(outcome.position, (Position{0, 1571, kUntouched}));
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
    Position then = {kUntouched, kUntouched, now.zoom};
    EXPECT_TRUE(configuration.getPanTilt({k(0, 2), k(1, 2)}, &then.pan, &then.tilt));
    EXPECT_EQ(then, now);
  }
}

TEST(CenterPixel, TheTargetIsOneMetreAway) {
  // The camera is half a metre ahead of the pan axis. 45 degrees to the right of it, at 1 m, is
  // atan(0.7071 / 1.2071) = 30.36 degrees, or 1059.8 steps, from the axis.
  PTZCameraParameters params = plainPtz(threeSamples());
  params.mutable_pan_tilt()->mutable_tilt_to_camera()->set_a(11, -500);
  const Outcome outcome = center(params, kAhead, {2000, 500});
  EXPECT_TRUE(outcome.solved);
  EXPECT_EQ(outcome.position, (Position{1060, 0, kUntouched}));
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
    EXPECT_EQ(center(params, now, pixel).position, (Position{3 * sign, 0, kUntouched}));
    // Rounding comes before the limits.
    params.mutable_pan_tilt()->set_max_pan(2);
    params.mutable_pan_tilt()->set_min_pan(-2);
    EXPECT_EQ(center(params, now, pixel).position, (Position{2 * sign, 0, kUntouched}));
  }
}

TEST(CenterPixel, RoundsTiltTheSameWay) {
  for (const int sign : {1, -1}) {
    PTZCameraParameters params = plainPtz(threeSamples());
    params.mutable_pan_tilt()->set_tilt_scale(narrow(90 * kRadians));
    params.mutable_pan_tilt()->set_tilt_offset(2.5F * narrow(sign));
    // Looking down by 45 degrees for the positive sign, and at a pixel up by as much.
    const Outcome outcome = center(params, {0, 2 * sign, 70}, {1000, 500 - 1000 * narrow(sign)});
    EXPECT_EQ(outcome.position, (Position{0, 3 * sign, kUntouched}));
  }
}

/// The pixel 45 degrees to the right and 35.26 degrees up with these limits: 1571 and 1231 steps
/// without.
Position limitedTo(void (*set)(PanTiltSystemParameters*)) {
  PTZCameraParameters params = plainPtz(threeSamples());
  set(params.mutable_pan_tilt());
  return center(params, kAhead, {2000, -500}).position;
}

TEST(CenterPixel, LimitsApplyWhereTheyArePresent) {
  const auto expect = [](const Position& position, int pan, int tilt) {
    EXPECT_EQ(position, (Position{pan, tilt, kUntouched}));
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
  EXPECT_EQ(position, (Position{-3000, 40, kUntouched}));
}

TEST(CenterPixel, ResultsBeyondIntSaturateBeforeTheLimits) {
  PTZCameraParameters params = plainPtz(threeSamples());
  params.mutable_pan_tilt()->set_pan_scale(1e-12F);
  params.mutable_pan_tilt()->set_tilt_scale(-1e-12F);
  EXPECT_EQ(center(params, kAhead, {2000, -500}).position,
            (Position{kLargest, kLowest, kUntouched}));
  params.mutable_pan_tilt()->set_max_pan(10);
  params.mutable_pan_tilt()->set_min_tilt(-20);
  EXPECT_EQ(center(params, kAhead, {2000, -500}).position, (Position{10, -20, kUntouched}));
}

TEST(CenterPixel, ZeroScales) {
  PTZCameraParameters params = plainPtz(threeSamples());
  params.mutable_pan_tilt()->set_pan_scale(0);
  params.mutable_pan_tilt()->set_tilt_scale(0);
  Outcome outcome = center(params, kAhead, {2000, -500});
  EXPECT_TRUE(outcome.solved);
  EXPECT_EQ(outcome.position, (Position{kLargest, kLargest, kUntouched}));
  // Straight ahead 0 / 0 steps are wanted: no number, which counts as 0.
  outcome = center(params, kAhead, {1000, 500});
  EXPECT_TRUE(outcome.solved);
  EXPECT_EQ(outcome.position, (Position{0, 0, kUntouched}));
}

TEST(CenterPixel, FailsWithNothingWrittenWhenTheResidualIsLarge) {
  // The camera looks up from 0.2 m beside the pan axis, at a point one metre away and 0.05 m beside
  // that axis: no pan and tilt bring the optical axis nearer to it than 0.15 m. The solver does
  // write a result.
  PTZCameraParameters params = plainPtz(threeSamples());
  params.mutable_pan_tilt()->mutable_tilt_to_camera()->set_a(3, 200);
  params.mutable_pan_tilt()->set_tilt_scale(narrow(90 * kRadians));
  const float x = 1000 + 1000 * narrow(std::tan(std::asin(0.15)));
  const Outcome outcome = center(params, {0, 1, 70}, {x, 500});
  EXPECT_FALSE(outcome.solved);
  EXPECT_EQ(outcome.position, Position());
  ASSERT_EQ(outcome.logs.size(), 1U);
  EXPECT_EQ(outcome.logs[0].level, kLogError);
  EXPECT_THAT(outcome.logs[0].text,
              ::testing::StartsWith("Large residual error for pan tilt: world="));
}

TEST(CenterPixel, FailsWithNothingWrittenWhereThereIsNoRay) {
  for (const float bad : {std::nanf(""), std::numeric_limits<float>::infinity()}) {
    const Outcome outcome = center(plainPtz(threeSamples()), kAhead, {bad, 500});
    EXPECT_FALSE(outcome.solved);
    EXPECT_EQ(outcome.position, Position());
    EXPECT_THAT(outcome.logs, ElementsAre(solverError("Could not find solutions for pan tilt: "
                                                      "world=nan\nnan\nnan dev=0\n0")));
  }
}

TEST(CenterPixel, FailsWithNothingWrittenAtTheLastSampleAndBeyond) {
  for (const int zoom : {270, 271, 1000, kLargest}) {
    const Outcome outcome = center(plainPtz(threeSamples()), {0, 0, zoom}, {1000, 500});
    EXPECT_FALSE(outcome.solved);
    EXPECT_EQ(outcome.position, Position());
    EXPECT_THAT(outcome.logs, ElementsAre(solverError("Could not find solutions for pan tilt: "
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

/// A camera of the example at a random position, and after it has moved.
struct Move {
  PTZCameraModelPtr model;
  Position before;
  Position after;

  PTZCameraModelConfiguration configuration() const {
    return {model, before.pan, before.tilt, before.zoom};
  }
  Eigen::Matrix4d cameraFromWorld(const Position& position) const {
    return testing::cameraFromBaseAtSteps(
        model->getParams().pan_tilt(),
        {static_cast<double>(position.pan), static_cast<double>(position.tilt)});
  }
};

/// Far enough from the limits for the target to be within them.
Position randomPosition(std::mt19937_64* random) {
  return {static_cast<int>(uniform(random, -4500, 4500)),
          static_cast<int>(uniform(random, -400, 1700)),
          static_cast<int>(uniform(random, 0, 10000))};
}

TEST(CenterPixel, ThePixelReprojectsToTheOpticalAxis) {
  std::mt19937_64 random(101);
  Move move{ptzModel(examplePtz()), {}, {}};
  double worst_exact = 0;
  double worst_rounded = 0;
  for (int trial = 0; trial < 3000; ++trial) {
    move.before = randomPosition(&random);
    const auto now = move.configuration();
    const Vector2_f pixel(narrow(uniform(&random, 0, 1920)), narrow(uniform(&random, 0, 1080)));
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

// ----------------------------------------------------------------------- a world point to a pixel

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
    const Vector2_f pixel(narrow(uniform(&random, 0, 1920)), narrow(uniform(&random, 0, 1080)));
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
    const Vector2_f pixel(narrow(uniform(&random, 0, 1920)), narrow(uniform(&random, 0, 1080)));
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
                ElementsAre(solverError("Could not find solutions for pan tilt: world= 3\n-4\n12 "
                                        "dev=nan\nnan")));
  }
}

// -------------------------------------------------------------------------------- framing a region

/// The largest focal length, pixels, at which a corner `x` to the side of the axis is within half
/// of `size` pixels: as stated, in single precision.
float fitting(float size, float x) { return 0.5F * size / (std::abs(x) + 1e-6F); }

/// A box around the middle of the 2000 x 1000 picture that reaches `x` and `y` pixels to each side.
Outcome frameAround(const PTZCameraParameters& params, float x, float y) {
  return frame(params, kAhead, {1000 - x, 500 - y}, {1000 + x, 500 + y});
}

TEST(FrameBox, ByHandBetweenTwoSamples) {
  // A quarter of a focal length to either side: 1000 / 0.250001 = 3999.98 px, in the second
  // segment. The share is 0.999992, the zoom 269.999.
  const PTZCameraParameters params = plainPtz(threeSamples());
  const auto& samples = params.intrinsics().samples();
  Outcome outcome = frameAround(params, 250, 10);
  EXPECT_TRUE(outcome.solved);
  EXPECT_EQ(outcome.position, (Position{0, 0, 269}));
  EXPECT_THAT(outcome.logs, ElementsAre(info("3999.98 0 0 " + samples[1].DebugString() + " " +
                                             samples[2].DebugString() + " 269")));
  // Half a focal length: 1999.996 px, in the first one.
  outcome = frameAround(params, 500, 10);
  EXPECT_EQ(outcome.position, (Position{0, 0, 169}));
  EXPECT_THAT(outcome.logs, ElementsAre(info("2000 0 0 " + samples[0].DebugString() + " " +
                                             samples[1].DebugString() + " 169")));
  // The height decides here: 500 / 0.4 = 1250 px.
  outcome = frameAround(params, 250, 400);
  EXPECT_EQ(outcome.position, (Position{0, 0, 94}));
}

TEST(FrameBox, ASinglePointAtThePrincipalPoint) {
  PTZIntrinsicsTable lens = threeSamples();
  lens.mutable_samples(2)->set_zoom(270.9);
  const Outcome outcome = frameAround(plainPtz(lens), 0, 0);
  EXPECT_TRUE(outcome.solved);
  EXPECT_EQ(outcome.position, (Position{0, 0, 270}));
  EXPECT_THAT(outcome.logs, ElementsAre(info("1e+06 0 0 270")));
}

TEST(FrameBox, TheCapOfTheFocalLength) {
  // A sample beyond the cap of 1e6 px is never reached.
  const PTZCameraParameters params = plainPtz(lensOf({{70, 1000}, {170, 2e6}, {270, 3e6}}, 100));
  const auto& samples = params.intrinsics().samples();
  const Outcome outcome = frameAround(params, 0, 0);
  const auto share = static_cast<float>((1e6 - 1000) / (2e6 - 1000));
  EXPECT_EQ(outcome.position.zoom, static_cast<int>(static_cast<double>(share) * 100 + 70));
  EXPECT_THAT(outcome.logs, ElementsAre(info("1e+06 0 0 " + samples[0].DebugString() + " " +
                                             samples[1].DebugString() + " 119")));
}

TEST(FrameBox, TooWideForTheFirstSampleIsZoomZero) {
  // 1000 / 1.1 px, and the first sample at 70.
  const Outcome outcome = frameAround(plainPtz(threeSamples()), 1100, 10);
  EXPECT_TRUE(outcome.solved);
  EXPECT_EQ(outcome.position, (Position{0, 0, 0}));
  EXPECT_THAT(outcome.logs, ElementsAre(info("909.09 0 0 0")));
}

TEST(FrameBox, SmallerThanTheLastSampleShowsIsItsZoomTruncated) {
  PTZIntrinsicsTable lens = threeSamples();
  lens.mutable_samples(2)->set_zoom(-270.9);
  const Outcome outcome = frameAround(plainPtz(lens), 10, 10);
  EXPECT_TRUE(outcome.solved);
  EXPECT_EQ(outcome.position, (Position{0, 0, -270}));
  EXPECT_THAT(outcome.logs, ElementsAre(info("49995 0 0 -270")));
}

TEST(FrameBox, ASampleOfExactlyThatFocalLengthDoesNotStopTheScan) {
  const float longest = fitting(2000, 0.25F);
  PTZCameraParameters params =
      plainPtz(lensOf({{70, 1000}, {170, static_cast<double>(longest)}, {270, 5000}}, 100));
  Outcome outcome = frameAround(params, 250, 10);
  EXPECT_EQ(outcome.position.zoom, 170);
  EXPECT_THAT(outcome.logs,
              ElementsAre(info("3999.98 0 0 " + params.intrinsics().samples(1).DebugString() + " " +
                               params.intrinsics().samples(2).DebugString() + " 170")));
  // The last one.
  params = plainPtz(lensOf({{70, 1000}, {170, static_cast<double>(longest)}}, 100));
  outcome = frameAround(params, 250, 10);
  EXPECT_EQ(outcome.position.zoom, 170);
  EXPECT_THAT(outcome.logs, ElementsAre(info("3999.98 0 0 170")));
  // The first one fits: its own zoom and not 0.
  const float equal = fitting(2000, 1);
  params = plainPtz(lensOf({{70, static_cast<double>(equal)}, {170, 5000}}, 100));
  const float pixels = equal;
  outcome = frameAround(params, pixels, 10);
  EXPECT_EQ(outcome.position.zoom, 70);
}

TEST(FrameBox, TheShareIsNarrowedToFloatAndTheZoomTruncated) {
  PTZIntrinsicsTable lens = lensOf({{0, 1000}, {1000000000, 5000}}, 1000000000);
  const double longest = static_cast<double>(fitting(2000, 0.3F));
  const double share = (longest - 1000) / (5000.0 - 1000);
  const int narrowed = static_cast<int>(static_cast<double>(static_cast<float>(share)) * 1e9);
  ASSERT_NE(narrowed, static_cast<int>(share * 1e9));
  Outcome outcome = frame(plainPtz(lens), {0, 0, 0}, {700, 490}, {1300, 510});
  EXPECT_EQ(outcome.position.zoom, narrowed);
  // Toward zero for negative zooms as well: -33.3 becomes -33.
  lens = lensOf({{0, 1000}, {-100, 8000}}, -100);
  outcome = frame(plainPtz(lens), {0, 0, 0}, {700, 490}, {1300, 510});
  EXPECT_EQ(outcome.position.zoom, -33);
}

TEST(FrameBox, ZoomsBeyondIntSaturate) {
  EXPECT_EQ(frameAround(plainPtz(lensOf({{70, 1000}, {1e12, 2000}}, 100)), 20, 20).position.zoom,
            kLargest);
  const PTZIntrinsicsTable nan = lensOf({{70, 1000}, {170, 2000}, {std::nan(""), 3000}}, 100);
  EXPECT_EQ(frameAround(plainPtz(nan), 20, 20).position.zoom, 0);
}

TEST(FrameBox, AnImageWithoutSizeIsZoomZero) {
  PTZIntrinsicsTable lens = threeSamples();
  lens.set_image_width(0);
  lens.set_image_height(0);
  Outcome outcome = frameAround(plainPtz(lens), 250, 10);
  EXPECT_TRUE(outcome.solved);
  EXPECT_EQ(outcome.position, (Position{0, 0, 0}));
  EXPECT_THAT(outcome.logs, ElementsAre(info("0 0 0 0")));
  // A negative one does not fit either.
  lens.set_image_width(-2000);
  lens.set_image_height(1000);
  outcome = frameAround(plainPtz(lens), 250, 10);
  EXPECT_EQ(outcome.position, (Position{0, 0, 0}));
}

TEST(FrameBox, TurnsToTheBisectorOfTheCorners) {
  // From straight ahead to 45 degrees to the right: 22.5 degrees, 785.4 steps. Its corners are then
  // tan(22.5 deg) to each side: 2414 px.
  const Outcome outcome = frame(plainPtz(threeSamples()), kAhead, {1000, 500}, {2000, 500});
  EXPECT_TRUE(outcome.solved);
  EXPECT_EQ(outcome.position.pan, 785);
  EXPECT_EQ(outcome.position.tilt, 0);
  // Of the rounded 785 steps: 22.489 degrees, so that a corner is 22.511 degrees away, and 2412.85
  // px fit.
  const double away = std::tan(45 * kRadians - 785 * 0.0005);
  const double share = (1000 / (away + 1e-6) - 2000) / 2000;
  EXPECT_EQ(outcome.position.zoom, static_cast<int>(share * 100 + 170));
}

TEST(FrameBox, TheBisectorIsTakenTwoUnitsAway) {
  // The camera is half a metre ahead of the pan axis; the sum of the two unit rays is 2 cos(22.5
  // deg) long.
  PTZCameraParameters params = plainPtz(threeSamples());
  params.mutable_pan_tilt()->mutable_tilt_to_camera()->set_a(11, -500);
  const Outcome outcome = frame(params, kAhead, {1000, 500}, {2000, 500});
  const double x = 0.5 + 1 + std::cos(45 * kRadians);
  const double y = std::sin(45 * kRadians);
  EXPECT_EQ(outcome.position.pan, static_cast<int>(std::lround(std::atan2(y, x) / 0.0005)));
}

TEST(FrameBox, TheZoomFitsTheLimitedPosition) {
  // The head cannot turn to the right. The far corners stay where they are: 0.6 focal lengths to
  // the right.
  PTZCameraParameters params = plainPtz(threeSamples());
  params.mutable_pan_tilt()->set_max_pan(0);
  const Outcome outcome = frame(params, kAhead, {1500, 490}, {1600, 510});
  EXPECT_TRUE(outcome.solved);
  EXPECT_EQ(outcome.position,
            (Position{0, 0, static_cast<int>((1000 / 0.600001 - 1000) / 10 + 70)}));
}

TEST(FrameBox, EveryCornerCounts) {
  // The head does not move at all, so that each of the four corners decides once, whichever two are
  // given.
  PTZCameraParameters params = plainPtz(threeSamples());
  PanTiltSystemParameters* head = params.mutable_pan_tilt();
  head->set_min_pan(0);
  head->set_max_pan(0);
  head->set_min_tilt(0);
  head->set_max_tilt(0);
  const Vector2_f low(1300, 400);
  const Vector2_f high(1600, 450);
  const int expected = static_cast<int>((1000 / 0.600001 - 1000) / 10 + 70);
  EXPECT_EQ(frame(params, kAhead, low, high).position.zoom, expected);
  EXPECT_EQ(frame(params, kAhead, high, low).position.zoom, expected);
  EXPECT_EQ(frame(params, kAhead, {1300, 450}, {1600, 400}).position.zoom, expected);
  EXPECT_EQ(frame(params, kAhead, {1600, 400}, {1300, 450}).position.zoom, expected);
  // The same for the height: 500 / 0.4 = 1250 px.
  const int flat = static_cast<int>((500 / 0.400001 - 1000) / 10 + 70);
  EXPECT_EQ(frame(params, kAhead, {900, 100}, {1000, 200}).position.zoom, flat);
  EXPECT_EQ(frame(params, kAhead, {900, 200}, {1000, 100}).position.zoom, flat);
}

TEST(FrameBox, FailsWithNothingWrittenAtTheLastSampleAndBeyond) {
  for (const int zoom : {270, 1000}) {
    const Outcome outcome = frame(plainPtz(threeSamples()), {0, 0, zoom}, {900, 400}, {1100, 600});
    EXPECT_FALSE(outcome.solved);
    EXPECT_EQ(outcome.position, Position());
    EXPECT_THAT(outcome.logs, ElementsAre(solverError("Could not find solutions for pan tilt: "
                                                      "world=nan\nnan\nnan dev=0\n0")));
  }
}

TEST(FrameBox, OfAModelWithoutSamplesFails) {
  PTZCameraParameters params = plainPtz(threeSamples());
  params.mutable_intrinsics()->clear_samples();
  ScopedLogCapture quiet(kLogFatal);
  const PTZCameraModelConfiguration configuration(ptzModel(params), 0, 0, 0);
  Position position;
  EXPECT_FALSE(configuration.getPanTiltZoom({900, 400}, {1100, 600}, &position.pan, &position.tilt,
                                            &position.zoom));
  EXPECT_EQ(position.zoom, kUntouched);
}

TEST(FrameBox, ResultsDoNotDependOnLogging) {
  const PTZCameraModelConfiguration configuration(ptzModel(examplePtz()), 100, 200, 300);
  Position quiet;
  EXPECT_TRUE(
      configuration.getPanTiltZoom({400, 300}, {700, 500}, &quiet.pan, &quiet.tilt, &quiet.zoom));
  ScopedLogCapture capture;
  Position loud;
  EXPECT_TRUE(
      configuration.getPanTiltZoom({400, 300}, {700, 500}, &loud.pan, &loud.tilt, &loud.zoom));
  EXPECT_EQ(quiet, loud);
  EXPECT_NE(loud.zoom, kUntouched);
}

/// A random box in the 1920 x 1080 image.
struct Box {
  Vector2_f corner;
  Vector2_f opposite;

  std::vector<Vector2_f> corners() const {
    return {corner, opposite, {corner.x(), opposite.y()}, {opposite.x(), corner.y()}};
  }
};

Box randomBox(std::mt19937_64* random) {
  const auto pixel = [&] {
    return Vector2_f(narrow(uniform(random, 0, 1920)), narrow(uniform(random, 0, 1080)));
  };
  return {pixel(), pixel()};
}

/// The largest share of half the image that a corner of the box takes up after the move, its
/// direction being kept. 1 is the image's border.
double largestShare(const Move& move, const Box& box) {
  const auto now = move.configuration();
  const PTZCameraModelConfiguration then(move.model, move.after.pan, move.after.tilt,
                                         move.after.zoom);
  const Eigen::Matrix3d turned = move.cameraFromWorld(move.after).topLeftCorner<3, 3>();
  double share = 0;
  for (const Vector2_f& pixel : box.corners()) {
    const Eigen::Vector3d q = turned * now.projectPixelToRay(pixel).cast<double>();
    EXPECT_GT(q.z(), 0);
    // Seen by the lens after the move.
    CameraTransform identity;
    identity.setTransform(Matrix4x4_f::Identity(), CameraTransform::kForward);
    const Vector2_f seen = norv::project3dToCamera(identity, then.getDistortion(),
                                                   then.getIntrinsics(), q.cast<float>());
    share = std::max({share, std::abs(static_cast<double>(seen.x()) / 960 - 1),
                      std::abs(static_cast<double>(seen.y()) / 540 - 1)});
  }
  return share;
}

TEST(FrameBox, TheCornersOfTheFramedBoxLieInTheImage) {
  std::mt19937_64 random(104);
  PTZCameraParameters params = examplePtz();
  *params.mutable_intrinsics() = testing::pinholeLens();
  Move move{ptzModel(params), {}, {}};
  double largest = 0;
  int tight = 0;
  int between = 0;
  for (int trial = 0; trial < 3000; ++trial) {
    move.before = randomPosition(&random);
    const Box box = randomBox(&random);
    ASSERT_TRUE(move.configuration().getPanTiltZoom(box.corner, box.opposite, &move.after.pan,
                                                    &move.after.tilt, &move.after.zoom));
    if (move.after.zoom == 0 || move.after.zoom == 11000) continue;
    ++between;
    const double share = largestShare(move, box);
    largest = std::max(largest, share);
    // As large as it fits: the next zoom step, some 3e-4 longer, is too long, but for the 1e-6 that
    // is added to the corner's distance of 0.012 focal lengths and more.
    ++move.after.zoom;
    if (move.after.zoom < 11000 && largestShare(move, box) > 1 - 1e-4) ++tight;
  }
  EXPECT_GT(between, 2000);
  EXPECT_EQ(tight, between);
  // Measured: 1 - 5e-6.
  EXPECT_LT(largest, 1);
}

TEST(FrameBox, WithARealLensTheCornersMissTheImageByLittle) {
  std::mt19937_64 random(105);
  Move move{ptzModel(examplePtz()), {}, {}};
  double largest = 0;
  for (int trial = 0; trial < 3000; ++trial) {
    move.before = randomPosition(&random);
    const Box box = randomBox(&random);
    ASSERT_TRUE(move.configuration().getPanTiltZoom(box.corner, box.opposite, &move.after.pan,
                                                    &move.after.tilt, &move.after.zoom));
    if (move.after.zoom == 0 || move.after.zoom == 11000) continue;
    largest = std::max(largest, largestShare(move, box));
  }
  // The principal point, up to 11 px from the middle, and the distortion are not part of the
  // computation. Measured: 1.018, or 17 px.
  EXPECT_LT(largest, 1.02);
}

}  // namespace
}  // namespace norv::calibration
