// A region as large as it fits the picture: PTZCameraModelConfiguration::getPanTiltZoom.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <Eigen/LU>
#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

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
using testing::frame;
using testing::kAhead;
using testing::kNotWritten;
using testing::kRadians;
using testing::lensOf;
using testing::modelInfo;
using testing::Move;
using testing::plainPtz;
using testing::pointingError;
using testing::PointingOutcome;
using testing::Position;
using testing::ptzModel;
using testing::randomPixel;
using testing::randomPosition;
using testing::ScopedLogCapture;
using testing::threeSamples;

constexpr int kMaxInt = std::numeric_limits<int>::max();

/// The largest focal length, pixels, at which a corner `x` to the side of the axis is within half
/// of `size` pixels: as stated, in single precision.
float fitting(float size, float x) { return 0.5F * size / (std::abs(x) + 1e-6F); }

/// A box around the middle of the 2000 x 1000 picture that reaches `x` and `y` pixels to each side.
PointingOutcome frameAround(const PTZCameraParameters& params, float x, float y) {
  return frame(params, kAhead, {1000 - x, 500 - y}, {1000 + x, 500 + y});
}

TEST(FrameBox, ByHandBetweenTwoSamples) {
  // A quarter of a focal length to either side: 1000 / 0.250001 = 3999.98 px, in the second
  // segment. The share is 0.999992, the zoom 269.999.
  const PTZCameraParameters params = plainPtz(threeSamples());
  const auto& samples = params.intrinsics().samples();
  PointingOutcome outcome = frameAround(params, 250, 10);
  EXPECT_TRUE(outcome.solved);
  EXPECT_EQ(outcome.position, (Position{0, 0, 269}));
  EXPECT_THAT(outcome.logs, ElementsAre(modelInfo("3999.98 0 0 " + samples[1].DebugString() + " " +
                                                  samples[2].DebugString() + " 269")));
  // Half a focal length: 1999.996 px, in the first one.
  outcome = frameAround(params, 500, 10);
  EXPECT_EQ(outcome.position, (Position{0, 0, 169}));
  EXPECT_THAT(outcome.logs, ElementsAre(modelInfo("2000 0 0 " + samples[0].DebugString() + " " +
                                                  samples[1].DebugString() + " 169")));
  // The height decides here: 500 / 0.4 = 1250 px.
  outcome = frameAround(params, 250, 400);
  EXPECT_EQ(outcome.position, (Position{0, 0, 94}));
}

TEST(FrameBox, ASinglePointAtThePrincipalPoint) {
  PTZIntrinsicsTable lens = threeSamples();
  lens.mutable_samples(2)->set_zoom(270.9);
  const PointingOutcome outcome = frameAround(plainPtz(lens), 0, 0);
  EXPECT_TRUE(outcome.solved);
  EXPECT_EQ(outcome.position, (Position{0, 0, 270}));
  EXPECT_THAT(outcome.logs, ElementsAre(modelInfo("1e+06 0 0 270")));
}

TEST(FrameBox, TheCapOfTheFocalLength) {
  // A sample beyond the cap of 1e6 px is never reached.
  const PTZCameraParameters params = plainPtz(lensOf({{70, 1000}, {170, 2e6}, {270, 3e6}}, 100));
  const auto& samples = params.intrinsics().samples();
  const PointingOutcome outcome = frameAround(params, 0, 0);
  const auto share = static_cast<float>((1e6 - 1000) / (2e6 - 1000));
  EXPECT_EQ(outcome.position.zoom, static_cast<int>(static_cast<double>(share) * 100 + 70));
  EXPECT_THAT(outcome.logs, ElementsAre(modelInfo("1e+06 0 0 " + samples[0].DebugString() + " " +
                                                  samples[1].DebugString() + " 119")));
}

TEST(FrameBox, TooWideForTheFirstSampleIsZoomZero) {
  // 1000 / 1.1 px, and the first sample at 70.
  const PointingOutcome outcome = frameAround(plainPtz(threeSamples()), 1100, 10);
  EXPECT_TRUE(outcome.solved);
  EXPECT_EQ(outcome.position, (Position{0, 0, 0}));
  EXPECT_THAT(outcome.logs, ElementsAre(modelInfo("909.09 0 0 0")));
}

TEST(FrameBox, SmallerThanTheLastSampleShowsIsItsZoomTruncated) {
  PTZIntrinsicsTable lens = threeSamples();
  lens.mutable_samples(2)->set_zoom(-270.9);
  const PointingOutcome outcome = frameAround(plainPtz(lens), 10, 10);
  EXPECT_TRUE(outcome.solved);
  EXPECT_EQ(outcome.position, (Position{0, 0, -270}));
  EXPECT_THAT(outcome.logs, ElementsAre(modelInfo("49995 0 0 -270")));
}

TEST(FrameBox, ASampleOfExactlyThatFocalLengthDoesNotStopTheScan) {
  const float longest = fitting(2000, 0.25F);
  PTZCameraParameters params =
      plainPtz(lensOf({{70, 1000}, {170, static_cast<double>(longest)}, {270, 5000}}, 100));
  PointingOutcome outcome = frameAround(params, 250, 10);
  EXPECT_EQ(outcome.position.zoom, 170);
  EXPECT_THAT(outcome.logs,
              ElementsAre(modelInfo("3999.98 0 0 " + params.intrinsics().samples(1).DebugString() +
                                    " " + params.intrinsics().samples(2).DebugString() + " 170")));
  // The last one.
  params = plainPtz(lensOf({{70, 1000}, {170, static_cast<double>(longest)}}, 100));
  outcome = frameAround(params, 250, 10);
  EXPECT_EQ(outcome.position.zoom, 170);
  EXPECT_THAT(outcome.logs, ElementsAre(modelInfo("3999.98 0 0 170")));
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
  PointingOutcome outcome = frame(plainPtz(lens), {0, 0, 0}, {700, 490}, {1300, 510});
  EXPECT_EQ(outcome.position.zoom, narrowed);
  // Toward zero for negative zooms as well: -33.3 becomes -33.
  lens = lensOf({{0, 1000}, {-100, 8000}}, -100);
  outcome = frame(plainPtz(lens), {0, 0, 0}, {700, 490}, {1300, 510});
  EXPECT_EQ(outcome.position.zoom, -33);
}

TEST(FrameBox, ZoomsBeyondIntSaturate) {
  EXPECT_EQ(frameAround(plainPtz(lensOf({{70, 1000}, {1e12, 2000}}, 100)), 20, 20).position.zoom,
            kMaxInt);
  const PTZIntrinsicsTable nan = lensOf({{70, 1000}, {170, 2000}, {std::nan(""), 3000}}, 100);
  EXPECT_EQ(frameAround(plainPtz(nan), 20, 20).position.zoom, 0);
}

TEST(FrameBox, AnImageWithoutSizeIsZoomZero) {
  PTZIntrinsicsTable lens = threeSamples();
  lens.set_image_width(0);
  lens.set_image_height(0);
  PointingOutcome outcome = frameAround(plainPtz(lens), 250, 10);
  EXPECT_TRUE(outcome.solved);
  EXPECT_EQ(outcome.position, (Position{0, 0, 0}));
  EXPECT_THAT(outcome.logs, ElementsAre(modelInfo("0 0 0 0")));
  // A negative one does not fit either.
  lens.set_image_width(-2000);
  lens.set_image_height(1000);
  outcome = frameAround(plainPtz(lens), 250, 10);
  EXPECT_EQ(outcome.position, (Position{0, 0, 0}));
}

TEST(FrameBox, TurnsToTheBisectorOfTheCorners) {
  // From straight ahead to 45 degrees to the right: 22.5 degrees, 785.4 steps. Its corners are then
  // tan(22.5 deg) to each side: 2414 px.
  const PointingOutcome outcome = frame(plainPtz(threeSamples()), kAhead, {1000, 500}, {2000, 500});
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
  const PointingOutcome outcome = frame(params, kAhead, {1000, 500}, {2000, 500});
  const double x = 0.5 + 1 + std::cos(45 * kRadians);
  const double y = std::sin(45 * kRadians);
  EXPECT_EQ(outcome.position.pan, static_cast<int>(std::lround(std::atan2(y, x) / 0.0005)));
}

TEST(FrameBox, TheZoomFitsTheLimitedPosition) {
  // The head cannot turn to the right. The far corners stay where they are: 0.6 focal lengths to
  // the right.
  PTZCameraParameters params = plainPtz(threeSamples());
  params.mutable_pan_tilt()->set_max_pan(0);
  const PointingOutcome outcome = frame(params, kAhead, {1500, 490}, {1600, 510});
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

TEST(FrameBox, ACornerThatNoRayReachesDoesNotBoundTheZoom) {
  // With r (1 - r^2 / 2) nothing is imaged beyond 0.544 focal lengths: both given corners are
  // within, the one across from the principal point is not. The head does not move.
  PTZIntrinsicsTable lens = threeSamples();
  for (PTZIntrinsicsItem& sample : *lens.mutable_samples()) sample.set_k1(-0.5);
  PTZCameraParameters params = plainPtz(lens);
  PanTiltSystemParameters* head = params.mutable_pan_tilt();
  head->set_min_pan(0);
  head->set_max_pan(0);
  head->set_min_tilt(0);
  head->set_max_tilt(0);
  const PTZCameraModelConfiguration now(ptzModel(params), 0, 0, 70);
  ASSERT_TRUE(now.rectifyPoint({1500 / 2000.0F, 900 / 1000.0F}).array().isNaN().all());
  const PointingOutcome outcome = frame(params, kAhead, {1500, 500}, {1000, 900});
  EXPECT_TRUE(outcome.solved);
  // r (1 - r^2 / 2) = 0.4 at r = 0.443665: 500 / 0.443666 = 1126.97 px. To the side it is 0.5 at
  // r = 0.618034, with which 1618 px would fit.
  EXPECT_EQ(outcome.position, (Position{0, 0, 82}));
  // If one of the two that are given has no ray, there is nowhere to turn to.
  const PointingOutcome lost = frame(params, kAhead, {1000, 500}, {1500, 900});
  EXPECT_FALSE(lost.solved);
  EXPECT_EQ(lost.position, Position());
}

TEST(FrameBox, TheLinesAreThoseOfTheOperation) {
  const PTZCameraModelConfiguration configuration(ptzModel(plainPtz(threeSamples())), 0, 0, 70);
  // Wider than the first sample shows, between two, and narrower than the last.
  for (const float size : {1100.0F, 250.0F, 10.0F}) {
    ScopedLogCapture capture;
    Position position;
    EXPECT_TRUE(configuration.getPanTiltZoom({1000 - size, 490}, {1000 + size, 510}, &position.pan,
                                             &position.tilt, &position.zoom));
    EXPECT_EQ(capture.take().back().function,
              "bool norv::calibration::PTZCameraModelConfiguration::getPanTiltZoom("
              "const norv::Vector2_f&, const norv::Vector2_f&, int*, int*, int*) const");
  }
}

TEST(FrameBox, FailsWithNothingWrittenAtTheLastSampleAndBeyond) {
  for (const int zoom : {270, 1000}) {
    const PointingOutcome outcome =
        frame(plainPtz(threeSamples()), {0, 0, zoom}, {900, 400}, {1100, 600});
    EXPECT_FALSE(outcome.solved);
    EXPECT_EQ(outcome.position, Position());
    EXPECT_THAT(outcome.logs, ElementsAre(pointingError("Could not find solutions for pan tilt: "
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
  EXPECT_EQ(position.zoom, kNotWritten);
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
  EXPECT_NE(loud.zoom, kNotWritten);
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
  const Vector2_f corner = randomPixel(random);
  return {corner, randomPixel(random)};
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
