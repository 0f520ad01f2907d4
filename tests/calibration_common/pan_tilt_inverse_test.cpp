// The solver of a pan-tilt head undoes its forward kinematics: random heads, poses and rays.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <Eigen/LU>
#include <algorithm>
#include <cmath>
#include <random>

#include "calibration_common/pan_tilt_model.h"
#include "testing/random_head.h"
#include "testing/solver_outcome.h"

namespace norv::calibration {
namespace {

using ::testing::IsEmpty;
using testing::kAxis;
using testing::kNothingWritten;
using testing::kRadians;
using testing::makeHead;
using testing::solve;
using testing::SolverOutcome;
using testing::Steps;
using testing::storePose;
using testing::uniform;
using testing::UprightHead;

/// A pose of a head, and a point at `depth` metres that is then seen on the ray `dev`.
struct Posed {
  PanTiltSystemParameters head;
  Steps steps;
  Vector3_f world;
};

Posed posed(const UprightHead& build, double elevation, const Vector2_f& dev, double depth,
            std::mt19937_64* random) {
  Posed result;
  result.head = makeHead(build, random);
  const double pan = uniform(random, -170, 170) * kRadians;
  const double tilt = build.tiltOf(elevation);
  result.steps = testing::stepsOf(result.head, pan, tilt);
  const Eigen::Vector3d in_camera = depth * dev.cast<double>().homogeneous();
  result.world =
      (testing::cameraFromBase(result.head, pan, tilt).inverse() * in_camera.homogeneous())
          .head<3>()
          .cast<float>();
  return result;
}

/// Difference of two motor positions as an angle, pan by its effect on the direction.
double missedBy(const Posed& pose, float pan, float tilt, double elevation) {
  const double dx = (static_cast<double>(pan) - pose.steps.pan) *
                    static_cast<double>(pose.head.pan_scale()) * std::cos(elevation);
  const double dy =
      (static_cast<double>(tilt) - pose.steps.tilt) * static_cast<double>(pose.head.tilt_scale());
  return std::hypot(dx, dy);
}

TEST(PanTiltInverse, ForwardThenInverseReturnsTheSteps) {
  std::mt19937_64 random(73);
  double worst = 0;
  for (int trial = 0; trial < 5000; ++trial) {
    const UprightHead build = testing::randomServedBuild(&random);
    const double elevation = uniform(&random, -30, 85) * kRadians;
    // Closer to the pan axis than the arms are long there are two solutions, or none.
    const double depth =
        std::pow(20, uniform(&random, 0, 1)) * std::max(0.5, 0.4 / std::cos(elevation));
    const Posed pose = posed(build, elevation, kAxis, depth, &random);
    const SolverOutcome outcome = solve(pose.head, pose.world, kAxis);
    ASSERT_TRUE(outcome.solved) << trial;
    ASSERT_THAT(outcome.linesUpTo(kLogWarning), IsEmpty());
    worst = std::max(worst, missedBy(pose, outcome.pan, outcome.tilt, elevation));
  }
  // Measured: 2.9e-7 rad, from the rounding of point and head.
  EXPECT_LT(worst, 1.5e-6);
}

TEST(PanTiltInverse, ForwardThenInverseBesideTheAxis) {
  std::mt19937_64 random(74);
  double worst = 0;
  for (int trial = 0; trial < 5000; ++trial) {
    UprightHead build = testing::randomServedBuild(&random);
    build.elevation = 0;
    const double elevation = uniform(&random, -30, 50) * kRadians;
    const Vector2_f dev(static_cast<float>(uniform(&random, -0.3, 0.3)),
                        static_cast<float>(uniform(&random, -0.3, 0.3)));
    const Posed pose = posed(build, elevation, dev, uniform(&random, 2, 20), &random);
    const SolverOutcome outcome = solve(pose.head, pose.world, dev);
    ASSERT_TRUE(outcome.solved) << trial;
    worst = std::max(worst, missedBy(pose, outcome.pan, outcome.tilt, elevation));
  }
  // Measured: 2.1e-7 rad.
  EXPECT_LT(worst, 1.5e-6);
}

/// The same head written in the pan frame that is turned by `alpha`, with its zero of tilt moved by
/// `tau`.
PanTiltSystemParameters reframed(const PanTiltSystemParameters& head, double alpha, double tau) {
  PanTiltSystemParameters result = head;
  testing::turnPanFrame(-alpha, &result);
  storePose(testing::readPose(head.tilt_to_camera()) * testing::turnZ(tau),
            result.mutable_tilt_to_camera());
  result.set_tilt_offset(static_cast<float>(static_cast<double>(head.tilt_offset()) +
                                            tau / static_cast<double>(head.tilt_scale())));
  return result;
}

TEST(PanTiltInverse, ReframingChangesNoPose) {
  std::mt19937_64 random(75);
  double worst = 0;
  for (int trial = 0; trial < 2000; ++trial) {
    const PanTiltSystemParameters head = testing::randomHead(&random);
    const double alpha = uniform(&random, -3, 3);
    // Whole steps, so that the offset is no rounded number.
    PanTiltSystemParameters whole = head;
    whole.set_tilt_offset(std::round(head.tilt_offset()));
    const double tau =
        std::round(uniform(&random, -1000, 1000)) * static_cast<double>(head.tilt_scale());
    const Steps steps = {uniform(&random, -3000, 3000), uniform(&random, -3000, 3000)};
    worst = std::max(worst, (testing::cameraFromBaseAtSteps(whole, steps) -
                             testing::cameraFromBaseAtSteps(reframed(whole, alpha, tau), steps))
                                .cwiseAbs()
                                .maxCoeff());
  }
  // Measured: 9e-16.
  EXPECT_LT(worst, 5e-15);
}

TEST(PanTiltInverse, ABadlyFramedHeadIsSolvedOnceItIsReframed) {
  std::mt19937_64 random(76);
  int solved_before = 0;
  double worst = 0;
  for (int trial = 0; trial < 1000; ++trial) {
    UprightHead build = testing::randomServedBuild(&random);
    build.azimuth = 45 * kRadians;
    build.elevation = uniform(&random, -85, 85) * kRadians;
    const double elevation = uniform(&random, -30, 85) * kRadians;
    const Posed pose = posed(build, elevation, kAxis, uniform(&random, 1, 20), &random);
    solved_before += solve(pose.head, pose.world, kAxis).solved ? 1 : 0;
    // The tilt angle at which the optical axis is level.
    const double tau = build.tiltOf(0);
    const SolverOutcome outcome = solve(reframed(pose.head, build.azimuth, tau), pose.world, kAxis);
    ASSERT_TRUE(outcome.solved) << trial;
    worst = std::max(worst, missedBy(pose, outcome.pan, outcome.tilt, elevation));
  }
  // Measured: 183.
  EXPECT_LT(solved_before, 300);
  // Measured: 2.1e-7 rad.
  EXPECT_LT(worst, 1.5e-6);
}

TEST(PanTiltInverse, NothingSolvesAtAnAzimuthOf45Degrees) {
  std::mt19937_64 random(77);
  for (int trial = 0; trial < 200; ++trial) {
    const double elevation = uniform(&random, -30, 85) * kRadians;
    const Posed pose = posed({45 * kRadians, 0, 1, 0.05}, elevation, kAxis, 5, &random);
    const SolverOutcome outcome = solve(pose.head, pose.world, kAxis);
    EXPECT_FALSE(outcome.solved);
    EXPECT_EQ(outcome.pan, kNothingWritten);
  }
}

}  // namespace
}  // namespace norv::calibration
