// Which turn, which of several positions, and what happens at the ends of the ranges.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "calibration_common/ptz_aiming.h"
#include "testing/example_ptz.h"
#include "testing/log_capture.h"
#include "testing/ptz_pointing.h"

namespace norv::testing {
namespace {

using namespace calibration;
using Eigen::Vector2d;
using Eigen::Vector3d;

constexpr int kTurn = 1000;  ///< steps of a full turn
constexpr int kLeast = std::numeric_limits<int>::min();
constexpr int kMost = std::numeric_limits<int>::max();

/// A head without lever arms and limits, a thousand steps a turn: at zero it looks along x, pan
/// turns it to the right (towards -y), tilt upwards.
PTZCameraParameters plainHead() {
  PTZCameraParameters params = plainPtz(threeSamples());
  params.mutable_pan_tilt()->set_pan_scale(static_cast<float>(2 * M_PI / kTurn));
  params.mutable_pan_tilt()->set_tilt_scale(static_cast<float>(2 * M_PI / kTurn));
  return params;
}

void limitPan(int lowest, int highest, PTZCameraParameters* params) {
  params->mutable_pan_tilt()->set_min_pan(lowest);
  params->mutable_pan_tilt()->set_max_pan(highest);
}

void limitTilt(int lowest, int highest, PTZCameraParameters* params) {
  params->mutable_pan_tilt()->set_min_tilt(lowest);
  params->mutable_pan_tilt()->set_max_tilt(highest);
}

/// A point in the direction of these steps.
Vector3d towards(double pan, double tilt) {
  const double p = pan * 2 * M_PI / kTurn;
  const double t = tilt * 2 * M_PI / kTurn;
  return 5 * Vector3d(std::cos(t) * std::cos(p), -std::cos(t) * std::sin(p), std::sin(t));
}

Aim aimAt(const PTZCameraParameters& params, const Vector3d& point, const MotorPositions& now,
          AimChoice choice = AimChoice::kNearest) {
  AimRequest request = {PointTarget{point}, now};
  request.choice = choice;
  return aim(PTZCameraModel(params), request);
}

::testing::AssertionResult isAt(const AimPosition& position, int pan, int tilt) {
  if (position.motors.pan == pan && position.motors.tilt == tilt) {
    return ::testing::AssertionSuccess();
  }
  return ::testing::AssertionFailure() << position.motors.pan << " " << position.motors.tilt;
}

TEST(AimingRange, GivesBothWaysToLookAtAPoint) {
  const Aim found = aimAt(plainHead(), towards(100, 50), {0, 0, 170});
  ASSERT_EQ(found.size(), 2U);
  EXPECT_TRUE(isAt(found[0], 100, 50));
  EXPECT_TRUE(found[0].is_upright);
  // Turned by half a turn and over the zenith.
  EXPECT_TRUE(isAt(found[1], -400, 450));
  EXPECT_FALSE(found[1].is_upright);
  for (const AimPosition& position : found) EXPECT_LT(position.miss, 0.01);
}

TEST(AimingRange, TakesTheTurnThatIsNearest) {
  EXPECT_TRUE(isAt(aimAt(plainHead(), towards(100, 50), {7300, -2040, 170}).best(), 7100, -1950));
  EXPECT_TRUE(isAt(aimAt(plainHead(), towards(-450, 0), {450, 0, 170}).best(), 550, 0));
}

TEST(AimingRange, KeepsToStepsThatSinglePrecisionTellsApart) {
  for (const int now : {kLeast, -300000000, 300000000, kMost}) {
    const Aim found = aimAt(plainHead(), towards(100, 50), {now, now, 170});
    ASSERT_FALSE(found.empty());
    EXPECT_LT(found.best().miss, 10) << "a step has 12.6 pixels";
    EXPECT_FALSE(found.best().isLimited());
    EXPECT_LT(std::abs(found.best().motors.pan), 1 << 22);
  }
  // Finer steps than single precision tells apart, all of which make 1e-6 radians.
  PTZCameraParameters fine = plainHead();
  fine.mutable_pan_tilt()->set_pan_scale(1e-8F);
  const Aim found = aimAt(fine, towards(300, 50), {0, 0, 170});
  ASSERT_FALSE(found.empty());
  EXPECT_LT(found.best().miss, 0.05);
}

TEST(AimingRange, TakesTheNearestTurnWithinTheRange) {
  PTZCameraParameters params = plainHead();
  limitPan(-480, 520, &params);
  limitTilt(-200, 200, &params);
  const Aim found = aimAt(params, towards(-470, 0), {510, 0, 170});
  ASSERT_EQ(found.size(), 1U);
  EXPECT_TRUE(isAt(found.best(), -470, 0));
  EXPECT_FALSE(found.best().isLimited());
  EXPECT_EQ(found.best().pan_travel, -980);
}

TEST(AimingRange, CountsWhatIsHalfAStepBeyondAnEndAsWithin) {
  PTZCameraParameters params = plainHead();
  limitPan(-100, 100, &params);
  limitTilt(-100, 100, &params);
  const Aim within = aimAt(params, towards(100.45, 0), {0, 0, 170});
  ASSERT_EQ(within.size(), 1U);
  EXPECT_TRUE(isAt(within.best(), 100, 0));
  EXPECT_EQ(within.best().pan_bound, MotorBound::kNone);
  const Aim beyond = aimAt(params, towards(100.55, 0), {0, 0, 170});
  ASSERT_EQ(beyond.size(), 1U);
  EXPECT_TRUE(isAt(beyond.best(), 100, 0));
  EXPECT_EQ(beyond.best().pan_bound, MotorBound::kHighest);
  EXPECT_TRUE(beyond.best().isLimited());
}

/// What the best whole steps within the limits are, by trying all of them.
double leastMiss(const PTZCameraParameters& params, const Vector3d& point, int zoom) {
  const PTZCameraModelPtr model = ptzModel(params);
  const auto& head = params.pan_tilt();
  double least = HUGE_VAL;
  for (int pan = head.min_pan(); pan <= head.max_pan(); ++pan) {
    for (int tilt = head.min_tilt(); tilt <= head.max_tilt(); ++tilt) {
      const PTZCameraModelConfiguration camera(model, pan, tilt, zoom);
      const Eigen::Vector4f in_camera =
          camera.getCameraTransform().transform * point.cast<float>().homogeneous();
      if (!(in_camera.z() > 0)) continue;
      const Vector2d seen = camera.project3dToCamera(point.cast<float>()).cast<double>();
      least = std::min(least, (seen - Vector2d(1000, 500)).norm());
    }
  }
  return least;
}

TEST(AimingRange, ComesAsNearAsTheLimitsAllow) {
  PTZCameraParameters params = plainHead();
  limitPan(-60, 40, &params);
  limitTilt(-30, 50, &params);
  const struct {
    double pan;
    double tilt;
    MotorBound pan_bound;
    MotorBound tilt_bound;
  } cases[] = {
      {70, 20, MotorBound::kHighest, MotorBound::kNone},
      {-90, 10, MotorBound::kLowest, MotorBound::kNone},
      {10, 80, MotorBound::kNone, MotorBound::kHighest},
      {10, -60, MotorBound::kNone, MotorBound::kLowest},
      {80, 90, MotorBound::kHighest, MotorBound::kHighest},
      {-100, -50, MotorBound::kLowest, MotorBound::kLowest},
  };
  for (const auto& c : cases) {
    const Vector3d point = towards(c.pan, c.tilt);
    const Aim found = aimAt(params, point, {0, 0, 170});
    ASSERT_FALSE(found.empty()) << c.pan << " " << c.tilt;
    const AimPosition& best = found.best();
    EXPECT_EQ(best.pan_bound, c.pan_bound) << c.pan << " " << c.tilt;
    EXPECT_EQ(best.tilt_bound, c.tilt_bound) << c.pan << " " << c.tilt;
    // By angle it is the nearest; in pixels, which grow with the tangent, one may be nearer.
    EXPECT_LT(best.miss, 1.02 * leastMiss(params, point, 170)) << c.pan << " " << c.tilt;
    EXPECT_NEAR((best.lands - best.wanted).norm(), best.miss, 1e-9);
  }
}

TEST(AimingRange, PutsWhatMissesLeastFirst) {
  PTZCameraParameters params = plainHead();
  limitPan(-60, 40, &params);
  limitTilt(-30, 520, &params);
  const Aim found = aimAt(params, towards(70, 20), {0, 0, 170});
  ASSERT_FALSE(found.empty());
  for (std::size_t i = 1; i < found.size(); ++i) EXPECT_LE(found[i - 1].miss, found[i].miss);
  for (const AimPosition& position : found) EXPECT_TRUE(position.isLimited());
}

TEST(AimingRange, TakesTheHighestWhereTheLimitsCross) {
  PTZCameraParameters params = plainHead();
  limitPan(30, -20, &params);
  EXPECT_EQ(aimAt(params, towards(0, 0), {0, 0, 170}).best().motors.pan, -20);
}

TEST(AimingRange, ChoosesAsAsked) {
  // From there the way over the zenith is the shorter one.
  const MotorPositions flipped = {-390, 440, 170};
  const Vector3d point = towards(100, 50);
  EXPECT_TRUE(isAt(aimAt(plainHead(), point, flipped, AimChoice::kNearest).best(), -400, 450));
  EXPECT_TRUE(isAt(aimAt(plainHead(), point, flipped, AimChoice::kUpright).best(), 100, 50));
  EXPECT_TRUE(isAt(aimAt(plainHead(), point, flipped, AimChoice::kNoFlip).best(), -400, 450));
  // Upright, but the other one is nearer by angle: 300 against 290 steps.
  const MotorPositions upright = {-200, 160, 170};
  EXPECT_TRUE(isAt(aimAt(plainHead(), point, upright, AimChoice::kNearest).best(), -400, 450));
  EXPECT_TRUE(isAt(aimAt(plainHead(), point, upright, AimChoice::kUpright).best(), 100, 50));
  EXPECT_TRUE(isAt(aimAt(plainHead(), point, upright, AimChoice::kNoFlip).best(), 100, 50));
}

TEST(AimingRange, StaysWhereEveryPanWillDo) {
  const Aim found = aimAt(plainHead(), {0, 0, 3}, {123, 200, 170});
  ASSERT_FALSE(found.empty());
  EXPECT_TRUE(isAt(found.best(), 123, 250));
}

TEST(AimingRange, SurvivesExtremeNumbers) {
  for (const int now : {kLeast, 0, kMost}) {
    for (const float scale : {1e-45F, -1e-30F, 2e-9F, 1.0F, -1e10F, 3e38F}) {
      for (const float offset : {-3e38F, -1e9F, 0.0F, 2e9F, 3e38F}) {
        PTZCameraParameters params = plainHead();
        params.mutable_pan_tilt()->set_pan_scale(scale);
        params.mutable_pan_tilt()->set_pan_offset(offset);
        params.mutable_pan_tilt()->set_tilt_scale(-scale);
        params.mutable_pan_tilt()->set_tilt_offset(offset);
        limitTilt(kLeast, kMost, &params);
        const Aim found = aimAt(params, towards(100, 50), {now, now, 170});
        for (const AimPosition& position : found) {
          EXPECT_EQ(position.pan_travel, std::int64_t{position.motors.pan} - now);
          EXPECT_EQ(position.motors.zoom, 170);
        }
      }
    }
  }
  AimRequest request = {PixelTarget{{1000, 500}, 5}, {kMost, kLeast, 170}};
  request.zoom = AimZoom::kFocalLength;
  EXPECT_FALSE(aim(PTZCameraModel(plainHead()), request).empty());
}

}  // namespace
}  // namespace norv::testing
