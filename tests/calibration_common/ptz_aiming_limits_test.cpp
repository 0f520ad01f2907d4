// Where the head goes when a limit keeps it from its target: to which end, and when to the other.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "calibration_common/ptz_aiming.h"
#include "testing/example_ptz.h"
#include "testing/ptz_pointing.h"
#include "testing/random_head.h"

namespace norv::testing {
namespace {

using namespace calibration;
using Eigen::Vector3d;

constexpr double kStep = 2 * M_PI / 1000;  ///< of the plain head, radians
constexpr int kZoom = 170;

/// A head without lever arms, a thousand steps a turn, whose pan leaves out 60 steps behind it.
PTZCameraParameters plainHead() {
  PTZCameraParameters params = plainPtz(threeSamples());
  params.mutable_pan_tilt()->set_pan_scale(static_cast<float>(kStep));
  params.mutable_pan_tilt()->set_tilt_scale(static_cast<float>(kStep));
  params.mutable_pan_tilt()->set_min_pan(-470);
  params.mutable_pan_tilt()->set_max_pan(470);
  params.mutable_pan_tilt()->set_min_tilt(-100);
  params.mutable_pan_tilt()->set_max_tilt(100);
  return params;
}

/// A point in the direction of these steps.
Vector3d towards(double pan, double tilt) {
  const double p = pan * kStep;
  const double t = tilt * kStep;
  return 5 * Vector3d(std::cos(t) * std::cos(p), -std::cos(t) * std::sin(p), std::sin(t));
}

Aim aimFrom(const MotorPositions& now, const PTZCameraParameters& params, const Vector3d& point) {
  return aim(PTZCameraModel(params), {PointTarget{point}, now});
}

/// Follows the points of frames; how often the pan goes from one end of its range to the other.
template <class PointOf>
int countJumps(const PTZCameraParameters& params, int frames, const PointOf& pointOf) {
  const PTZCameraModelPtr model = ptzModel(params);
  MotorPositions now = {0, 0, params.intrinsics().zoom_start()};
  int jumps = 0;
  for (int frame = 0; frame < frames; ++frame) {
    const Aim found = aim(*model, {PointTarget{pointOf(frame)}, now});
    EXPECT_FALSE(found.empty()) << frame;
    if (found.empty()) continue;
    EXPECT_NE(found.best().pan_bound, MotorBound::kNone) << frame;
    if (frame > 0 && found.best().pan_travel != 0) ++jumps;
    now = found.best().motors;
  }
  return jumps;
}

TEST(AimingLimits, StaysAtAnEndWhileATargetWobblesBehindTheHead) {
  EXPECT_EQ(countJumps(examplePtz(), 100,
                       [](int frame) { return Vector3d(-5, frame % 2 == 0 ? 0.02 : -0.02, 1.3); }),
            0);
}

TEST(AimingLimits, StaysAtAnEndWhereTheTiltIsAtOneToo) {
  EXPECT_EQ(countJumps(plainHead(), 100,
                       [](int frame) { return towards(frame % 2 == 0 ? 499 : 501, 150); }),
            0);
}

TEST(AimingLimits, ListsBothEndsOfASectorThatIsLeftOut) {
  const Aim found = aimFrom({470, 0, kZoom}, plainHead(), towards(495, 20));
  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(found[0].motors.pan, 470);
  EXPECT_EQ(found[0].pan_bound, MotorBound::kHighest);
  EXPECT_EQ(found[1].motors.pan, -470);
  EXPECT_EQ(found[1].pan_bound, MotorBound::kLowest);
  for (const AimPosition& position : found) EXPECT_EQ(position.tilt_bound, MotorBound::kNone);
  const Aim from_the_other = aimFrom({-470, 0, kZoom}, plainHead(), towards(495, 20));
  ASSERT_EQ(from_the_other.size(), 2U);
  EXPECT_EQ(from_the_other[0].motors.pan, -470);
}

TEST(AimingLimits, GoesToTheOtherEndWhereThatMissesByLessThanHalf) {
  // 360 / 1000 degrees a step: a degree beyond the far end.
  EXPECT_EQ(aimFrom({-470, 0, kZoom}, plainHead(), towards(472.8, 0)).best().motors.pan, 470);
  // From 470 steps to 530 and back: by 40 steps against 20 the way is worth while.
  const PTZCameraModel model(plainHead());
  MotorPositions now = {470, 0, kZoom};
  for (const bool is_back : {false, true}) {
    for (int i = 1; i < 60; ++i) {
      const double pan = is_back ? 530 - i : 470 + i;
      now = aim(model, {PointTarget{towards(pan, 0)}, now}).best().motors;
      if (i == 40) continue;  // as good as equal
      EXPECT_EQ(now.pan, (i < 40) != is_back ? 470 : -470) << i;
    }
  }
}

TEST(AimingLimits, TakesNoEndFromWhichTurningBackWouldHelp) {
  PTZCameraParameters params = plainHead();
  params.mutable_pan_tilt()->set_min_pan(-5);
  params.mutable_pan_tilt()->set_max_pan(5);
  const Aim found = aimFrom({-5, 0, kZoom}, params, towards(20, 0));
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found.best().motors.pan, 5);
  // A range of more than a turn leaves out nothing: the tilt alone is bound.
  params.mutable_pan_tilt()->set_min_pan(-550);
  params.mutable_pan_tilt()->set_max_pan(550);
  const Aim above = aimFrom({550, 0, kZoom}, params, towards(-430, 130));
  ASSERT_EQ(above.size(), 1U);
  EXPECT_EQ(above.best().motors.pan, -430);
  EXPECT_EQ(above.best().motors.tilt, 100);
  EXPECT_EQ(above.best().pan_bound, MotorBound::kNone);
}

/// Where the camera sees a point from a position, pixels from the middle; infinite where it lies
/// behind.
double missFrom(const PTZCameraModelPtr& model, int pan, int tilt, const Vector3d& point) {
  const PTZCameraModelConfiguration camera(model, pan, tilt, kZoom);
  const Vector3_f world = point.cast<float>();
  const Eigen::Vector4f in_camera = camera.getCameraTransform().transform * world.homogeneous();
  if (!(in_camera.z() > 0)) return HUGE_VAL;
  return (camera.project3dToCamera(world).cast<double>() - Eigen::Vector2d(1000, 500)).norm();
}

TEST(AimingLimits, TriesTheStepsBeforeAnEnd) {
  std::mt19937_64 random(12);
  int limited = 0;
  for (int i = 0; i < 400; ++i) {
    PTZCameraParameters params = plainPtz(threeSamples());
    auto* head = params.mutable_pan_tilt();
    *head = randomHead(&random);
    head->set_pan_scale(0.02F);
    head->set_tilt_scale(0.02F);
    head->set_pan_offset(0);
    head->set_tilt_offset(0);
    head->set_min_pan(-40);
    head->set_max_pan(40);
    head->clear_min_tilt();
    head->clear_max_tilt();
    const Vector3d point(uniform(&random, -6, 6), uniform(&random, -6, 6), uniform(&random, -6, 6));
    const PTZCameraModelPtr model = ptzModel(params);
    const Aim found = aim(*model, {PointTarget{point}, {0, 0, kZoom}});
    if (found.empty() || found.best().pan_bound == MotorBound::kNone) continue;
    ++limited;
    const int inwards = found.best().pan_bound == MotorBound::kHighest ? -1 : 1;
    const int end = -40 * inwards;
    for (const int inside : {0, 1, 2}) {
      // What single precision hides, some hundredths of a pixel.
      EXPECT_LT(
          found.best().miss,
          1.0001 * missFrom(model, end + inside * inwards, found.best().motors.tilt, point) + 0.1)
          << i << " " << inside;
    }
  }
  EXPECT_GT(limited, 30);
}

TEST(AimingLimits, KeepsABallThatIsTooNearForTheLens) {
  // Half a metre of radius 1 m ahead: 30 degrees off the axis, which this long lens does not image.
  AimRequest request = {SphereTarget{{1.1, 0, 1.3}, 0.5}, {0, 0, 5000}};
  const PTZCameraModelPtr model = ptzModel(examplePtz());
  for (const AimZoom zoom : {AimZoom::kKeep, AimZoom::kFocalLength}) {
    request.zoom = zoom;
    request.zoom_value = 8000;
    const Aim found = aim(*model, request);
    ASSERT_FALSE(found.empty());
    const AimPosition& best = found.best();
    EXPECT_FALSE(best.is_whole);
    EXPECT_FALSE(best.is_inside);
    EXPECT_EQ(best.low, best.lands);
    EXPECT_EQ(best.high, best.lands);
    const PTZCameraModelConfiguration camera(model, best.motors.pan, best.motors.tilt,
                                             best.motors.zoom);
    const Eigen::Vector2d centre = camera.project3dToCamera({1.1F, 0, 1.3F}).cast<double>();
    EXPECT_LT((best.lands - centre).norm(), 0.02);
    EXPECT_LT(best.miss, 0.0005 * static_cast<double>(camera.getIntrinsics()(0, 0)));
  }
}

}  // namespace
}  // namespace norv::testing
