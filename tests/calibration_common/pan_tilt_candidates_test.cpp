// Where the solver of a pan-tilt head starts, and when it finds no start.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>

#include "calibration_common/pan_tilt_model.h"
#include "testing/example_ptz.h"
#include "testing/random_head.h"
#include "testing/solver_outcome.h"

namespace norv::calibration {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using testing::exampleHead;
using testing::headWithoutLeverArms;
using ::testing::IsEmpty;
using testing::kAxis;
using testing::kNothingWritten;
using testing::kRadians;
using testing::makeHead;
using testing::solve;
using testing::solverError;
using testing::SolverOutcome;
using testing::storePose;
using testing::streamed;

constexpr float kInfinity = std::numeric_limits<float>::infinity();

TEST(PanTiltCandidates, CandidatesAreTakenInOrderWithinTheTolerance) {
  // A ray just below the axis by w: the closed form finds the tilts -w, which misses it by 2 w, and
  // w. Up to 1e-4 the first one does.
  SolverOutcome outcome = solve(headWithoutLeverArms(), {4, 0, 0}, {0, 4.9e-5F});
  EXPECT_THAT(outcome.infoTexts(), Contains("Pan/tilt estimates:0 -4.9e-05"));
  EXPECT_TRUE(outcome.solved);
  EXPECT_NEAR(static_cast<double>(outcome.tilt), 4.9e-5 / 0.0005, 1e-4);
  outcome = solve(headWithoutLeverArms(), {4, 0, 0}, {0, 5.1e-5F});
  EXPECT_THAT(outcome.infoTexts(), Contains("Pan/tilt estimates:0 5.1e-05"));
  EXPECT_TRUE(outcome.solved);
  EXPECT_NEAR(static_cast<double>(outcome.tilt), 5.1e-5 / 0.0005, 1e-4);
}

TEST(PanTiltCandidates, TheStartTurnsTowardsTheTargetAndNotOverTheBack) {
  // Behind the head: half a turn of pan, not half a turn of tilt.
  const SolverOutcome outcome = solve(headWithoutLeverArms(), {-4, 0.01F, 1}, kAxis);
  EXPECT_TRUE(outcome.solved);
  EXPECT_NEAR(std::abs(static_cast<double>(outcome.pan)) * 0.0005, std::atan2(0.01, -4), 1e-5);
  EXPECT_NEAR(static_cast<double>(outcome.tilt) * 0.0005, std::atan2(1, 4), 1e-5);
}

TEST(PanTiltCandidates, TheSecondPanIsTriedWhereTheFirstHasNoTilt) {
  // Looking up by 60 degrees at zero tilt, and asked for a ray 45 degrees above that: over the
  // back. Facing a level target, tilt would have to go back by more than a right angle; with the
  // back to it, forth by 75 degrees.
  PanTiltSystemParameters head = headWithoutLeverArms();
  storePose(testing::readPose(head.tilt_to_camera()) * testing::turnZ(60 * kRadians),
            head.mutable_tilt_to_camera());
  const Vector3_f world(5, 0, 0);
  const SolverOutcome outcome = solve(head, world, {0, -1});
  EXPECT_TRUE(outcome.solved);
  EXPECT_NEAR(std::abs(static_cast<double>(outcome.pan)) * 0.0005, 180 * kRadians, 1e-6);
  EXPECT_NEAR(static_cast<double>(outcome.tilt) * 0.0005, 75 * kRadians, 1e-6);
  const Eigen::Vector4d seen = testing::cameraFromBase(head, 180 * kRadians, 75 * kRadians) *
                               world.cast<double>().homogeneous();
  EXPECT_GT(seen.z(), 3) << "behind the camera";
}

TEST(PanTiltCandidates, ATargetWithinTheTolerancesReachOfThePanAxisHasNoAzimuth) {
  // 5e-6 rad beside the axis, to the right: any pan does, and 0 stands for it. 1.5e-5 rad beside it
  // the pan is a quarter turn.
  EXPECT_THAT(solve(headWithoutLeverArms(), {0, -1.5e-5F, 3}, kAxis).infoTexts(),
              Contains("Pan/tilt estimates:0 1.5708"));
  EXPECT_THAT(solve(headWithoutLeverArms(), {0, -4.5e-5F, 3}, kAxis).infoTexts(),
              Contains("Pan/tilt estimates:1.5708 1.57078"));
}

/// The head with its tilt joint mounted the other way round: positive tilt lowers the camera.
PanTiltSystemParameters flippedTiltJoint() {
  PanTiltSystemParameters head = headWithoutLeverArms();
  storePose({1, 0, 0, 0, 0, 0, 1, 0, 0, -1, 0, 0}, head.mutable_pan_to_tilt());
  storePose({0, 0, 1, 0, 0, -1, 0, 0, 1, 0, 0, 0}, head.mutable_tilt_to_camera());
  return head;
}

TEST(PanTiltCandidates, StartTiltIsNegatedWhenTheJointPointsTheOtherWay) {
  SolverOutcome outcome = solve(headWithoutLeverArms(), {2, 0, 2}, kAxis);
  EXPECT_THAT(outcome.infoTexts(), Contains("Pan/tilt estimates:0 0.785398"));
  EXPECT_TRUE(outcome.solved);
  EXPECT_NEAR(static_cast<double>(outcome.tilt) * 0.0005, 45 * kRadians, 1e-6);
  outcome = solve(flippedTiltJoint(), {2, 0, 2}, kAxis);
  EXPECT_THAT(outcome.infoTexts(), Contains("Pan/tilt estimates:0 -0.785398"));
  EXPECT_TRUE(outcome.solved);
  EXPECT_NEAR(static_cast<double>(outcome.tilt) * 0.0005, -45 * kRadians, 1e-6);
}

TEST(PanTiltCandidates, StartTiltIsNegatedWhenTheJointIsSquareToTheTiltAxis) {
  // Both joints turn about the same axis; the optical axis is level.
  PanTiltSystemParameters head = headWithoutLeverArms();
  storePose({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0}, head.mutable_pan_to_tilt());
  storePose({0, -1, 0, 0, 0, 0, -1, 0, 1, 0, 0, 0}, head.mutable_tilt_to_camera());
  EXPECT_THAT(solve(head, {2, 0, 2}, kAxis).infoTexts(),
              Contains("Pan/tilt estimates:0 -0.785398"));
}

TEST(PanTiltCandidates, NoCandidateBeyondARightAngleOfTilt) {
  // Looking down by 60 degrees at zero tilt: 80 degrees up is out of reach, on this line of the
  // closed form atan(tan(80 deg) / cos(60 deg)) + atan(tan(60 deg) / cos(60 deg)) = 158.9 degrees
  // of tilt away.
  std::mt19937_64 random(72);
  PanTiltSystemParameters head = makeHead({0, -60 * kRadians, 1, 0}, &random);
  storePose(Eigen::Matrix4d(Eigen::Matrix4d::Identity()), head.mutable_base_to_pan());
  SolverOutcome outcome = solve(head, {1, 0, 6}, kAxis);
  EXPECT_FALSE(outcome.solved);
  EXPECT_EQ(outcome.pan, kNothingWritten);
  EXPECT_EQ(outcome.tilt, kNothingWritten);
  EXPECT_THAT(
      outcome.linesUpTo(kLogWarning),
      ElementsAre(solverError("Could not find solutions for pan tilt: world=1\n0\n6 dev=0\n0")));
  // Nothing comes after that line.
  EXPECT_EQ(outcome.logs.size(), 8U);
  EXPECT_EQ(outcome.logs.back().level, kLogError);
  EXPECT_EQ(outcome.logs.back().function,
            "bool norv::calibration::PanTiltModel::computePanTilt("
            "const norv::Vector3_f&, const norv::Vector2_f&, float*, float*) const");
  // A level target is within reach: 60 degrees.
  outcome = solve(head, {1, 0, 0}, kAxis);
  EXPECT_TRUE(outcome.solved);
  EXPECT_THAT(outcome.linesUpTo(kLogWarning), IsEmpty());
}

TEST(PanTiltCandidates, NoCandidateForARayThatTheHeadCannotTurnToTheTarget) {
  // Straight up is a direction that pan does not change; a ray far beside the axis never points
  // there.
  const SolverOutcome outcome = solve(headWithoutLeverArms(), {0, 0, 3}, {0.5F, 0});
  EXPECT_FALSE(outcome.solved);
  EXPECT_EQ(outcome.pan, kNothingWritten);
  EXPECT_EQ(outcome.tilt, kNothingWritten);
  EXPECT_THAT(outcome.linesUpTo(kLogWarning),
              ElementsAre(solverError(
                  "Could not find solutions for pan tilt: world=0\n0\n3 dev=0.5\n  0")));
}

TEST(PanTiltCandidates, NoCandidateForInputThatIsNotFinite) {
  for (const float bad : {std::nanf(""), kInfinity, -kInfinity}) {
    const std::string text = streamed(bad);
    for (int i = 0; i < 5; ++i) {
      Vector3_f world(3, -4, 12);
      Vector2_f dev(0, 0);
      (i < 3 ? world[i] : dev[i - 3]) = bad;
      const SolverOutcome outcome = solve(exampleHead(), world, dev);
      EXPECT_FALSE(outcome.solved);
      EXPECT_EQ(outcome.pan, kNothingWritten);
      EXPECT_EQ(outcome.tilt, kNothingWritten);
      EXPECT_THAT(outcome.linesUpTo(kLogWarning),
                  ElementsAre(solverError("Could not find solutions for pan tilt: world=" +
                                          streamed(world) + " dev=" + streamed(dev))));
    }
  }
}

TEST(PanTiltCandidates, NoCandidateForAHeadThatIsNotFinite) {
  for (const double bad : {std::nan(""), static_cast<double>(kInfinity)}) {
    for (const int which : {0, 1, 2}) {
      PanTiltSystemParameters head = exampleHead();
      (which == 0   ? head.mutable_base_to_pan()
       : which == 1 ? head.mutable_pan_to_tilt()
                    : head.mutable_tilt_to_camera())
          ->set_a(0, bad);
      const SolverOutcome outcome = solve(head, {3, -4, 12}, kAxis);
      EXPECT_FALSE(outcome.solved);
      EXPECT_EQ(outcome.pan, kNothingWritten);
      EXPECT_THAT(outcome.linesUpTo(kLogWarning),
                  ElementsAre(solverError(
                      "Could not find solutions for pan tilt: world= 3\n-4\n12 dev=0\n0")));
    }
  }
}

}  // namespace
}  // namespace norv::calibration
