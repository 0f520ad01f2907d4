// How the solver of a pan-tilt head judges its result.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "calibration_common/pan_tilt_model.h"
#include "testing/example_ptz.h"
#include "testing/random_head.h"
#include "testing/solver_outcome.h"
#include "testing/solver_stages.h"

namespace norv::calibration {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using testing::headWithGap;
using testing::headWithoutLeverArms;
using ::testing::IsEmpty;
using testing::kAxis;
using testing::kRadians;
using testing::lines;
using testing::solve;
using testing::solverError;
using testing::SolverOutcome;
using testing::solverStages;
using testing::solverWarning;
using testing::storePose;
using testing::streamed;

/// A point straight above, on the pan axis: the axis passes it at the gap, whatever pan and tilt.
const Vector3_f kAbove(0, 0, 2);

void expectStraightUp(const SolverOutcome& outcome) {
  EXPECT_EQ(outcome.pan, 0);
  EXPECT_NEAR(static_cast<double>(outcome.tilt), 90 * kRadians / 0.0005, 1e-3);
}

TEST(PanTiltVerdicts, GoodResidualIsSilent) {
  const SolverOutcome outcome = solve(headWithGap(0.0031), kAbove, kAxis);
  EXPECT_TRUE(outcome.solved);
  EXPECT_THAT(outcome.infoTexts(), Contains("last_error=9.61e-06"));
  EXPECT_THAT(outcome.linesUpTo(kLogWarning), IsEmpty());
  expectStraightUp(outcome);
}

TEST(PanTiltVerdicts, HighResidualIsAWarningAndFailsWithTheResultWritten) {
  const SolverOutcome outcome = solve(headWithGap(0.0034), kAbove, kAxis);
  EXPECT_FALSE(outcome.solved);
  EXPECT_THAT(outcome.linesUpTo(kLogWarning),
              ElementsAre(solverWarning("High residual error for pan tilt: world=0\n0\n2 dev=0\n0 "
                                        "error=1.156e-05")));
  EXPECT_EQ(lines(outcome.logs).back().level, kLogWarning);
  expectStraightUp(outcome);
}

TEST(PanTiltVerdicts, LargeResidualIsAnErrorAndFailsWithTheResultWritten) {
  const SolverOutcome outcome = solve(headWithGap(0.2), kAbove, kAxis);
  EXPECT_FALSE(outcome.solved);
  EXPECT_THAT(outcome.linesUpTo(kLogWarning),
              ElementsAre(solverError("Large residual error for pan tilt: world=0\n0\n2 dev=0\n0 "
                                      "error=0.04")));
  EXPECT_EQ(lines(outcome.logs).back().level, kLogError);
  expectStraightUp(outcome);
}

/// A camera that looks along the pan axis and turns with both joints about the origin, and a point
/// there: neither pan nor tilt changes the residual, which is (dev, 1) x t with t the camera's
/// translation.
struct StationaryProblem {
  Vector3_f t;
  Vector2_f dev;

  PanTiltSystemParameters head() const {
    PanTiltSystemParameters head = headWithoutLeverArms();
    for (CameraExtrinsics* pose : {head.mutable_pan_to_tilt(), head.mutable_tilt_to_camera()}) {
      storePose({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0}, pose);
    }
    for (int i = 0; i < 3; ++i) {
      head.mutable_tilt_to_camera()->set_a(4 * i + 3, 1000 * static_cast<double>(t[i]));
    }
    return head;
  }

  double error() const {
    const Eigen::Vector3d p = t.cast<double>();
    const Eigen::Vector2d d = dev.cast<double>();
    const double r0 = d.y() * p.z() - p.y();
    const double r1 = p.x() - d.x() * p.z();
    const double r2 = d.x() * p.y() - d.y() * p.x();
    return r0 * r0 + r1 * r1 + r2 * r2;
  }

  SolverOutcome solve() const { return calibration::solve(head(), {0, 0, 0}, dev); }
  testing::SolverStages stages() const { return solverStages(head(), {0, 0, 0}, dev); }
};

TEST(PanTiltVerdicts, ErrorOfExactlyOneHundredthIsHigh) {
  // Found by search: the squares add up to the number, to the last bit.
  StationaryProblem problem = {{0.0736096501F, -0.0676876605F, 4.80484368e-06F},
                               {0, 3.46368906e-05F}};
  ASSERT_EQ(problem.error(), 0.01);
  SolverOutcome outcome = problem.solve();
  EXPECT_FALSE(outcome.solved);
  EXPECT_THAT(outcome.linesUpTo(kLogWarning),
              ElementsAre(solverWarning("High residual error for pan tilt: world=0\n0\n0 dev=" +
                                        streamed(problem.dev) + " error=0.01")));
  problem.t.x() = std::nextafter(problem.t.x(), 1.0F);
  ASSERT_GT(problem.error(), 0.01);
  outcome = problem.solve();
  EXPECT_FALSE(outcome.solved);
  EXPECT_THAT(outcome.linesUpTo(kLogWarning),
              ElementsAre(solverError("Large residual error for pan tilt: world=0\n0\n0 dev=" +
                                      streamed(problem.dev) + " error=0.01")));
}

TEST(PanTiltVerdicts, ErrorOfExactlyOneHundredThousandthIsGood) {
  StationaryProblem problem = {{0.00279276934F, -0.00148338778F, 7.88958872e-08F},
                               {0, 8.99034567e-05F}};
  ASSERT_EQ(problem.error(), 1e-5);
  SolverOutcome outcome = problem.solve();
  EXPECT_TRUE(outcome.solved);
  EXPECT_THAT(outcome.linesUpTo(kLogWarning), IsEmpty());
  problem.t.x() = std::nextafter(problem.t.x(), 1.0F);
  ASSERT_GT(problem.error(), 1e-5);
  outcome = problem.solve();
  EXPECT_FALSE(outcome.solved);
  EXPECT_THAT(outcome.linesUpTo(kLogWarning),
              ElementsAre(solverWarning("High residual error for pan tilt: world=0\n0\n0 dev=" +
                                        streamed(problem.dev) + " error=1e-05")));
}

TEST(PanTiltVerdicts, SingularNormalMatrixLeavesTheStart) {
  const StationaryProblem problem = {{0.125F, 0.25F, 3}, {0, 0}};
  const SolverOutcome outcome = problem.solve();
  // The tilt axis is zero, so that it does not point the joint's way.
  EXPECT_THAT(outcome.infoTexts(), Contains("Pan/tilt estimates:0 -0"));
  for (const internal::GaussNewtonStep& step : problem.stages().steps) {
    EXPECT_EQ(step.error, 0.078125);
    EXPECT_EQ(step.pan_change, 0);
    EXPECT_EQ(step.tilt_change, 0);
    EXPECT_THAT(step.residual, ElementsAre(-0.25, 0.125, 0));
  }
  EXPECT_FALSE(outcome.solved);
  EXPECT_EQ(outcome.pan, 0);
  EXPECT_EQ(outcome.tilt, 0);
}

TEST(PanTiltVerdicts, OneVanishingPivotLeavesTheOtherAngleFree) {
  // On the pan axis, camera arms in the tilt plane: pan changes nothing, tilt is solved.
  PanTiltSystemParameters head = headWithoutLeverArms();
  head.mutable_tilt_to_camera()->set_a(7, 100);
  const SolverOutcome outcome = solve(head, kAbove, kAxis);
  EXPECT_TRUE(outcome.solved);
  EXPECT_NEAR(static_cast<double>(outcome.pan), 0, 1e-9);
  // The optical axis lies 0.1 m above the joints, so that it meets the point 2 m up before it is
  // upright.
  EXPECT_NEAR(static_cast<double>(outcome.tilt) * 0.0005, 90 * kRadians - std::asin(0.1 / 2), 1e-6);
}

TEST(PanTiltVerdicts, APointBehindTheCameraOnTheLineOfTheRayCounts) {
  // The camera is half a metre ahead of the joints; the point is between.
  PanTiltSystemParameters head = headWithoutLeverArms();
  head.mutable_tilt_to_camera()->set_a(11, -500);
  const SolverOutcome outcome = solve(head, {0.2F, 0, 0}, kAxis);
  EXPECT_TRUE(outcome.solved);
  EXPECT_EQ(outcome.answer.error, 0);
  EXPECT_EQ(outcome.pan, 0);
  EXPECT_EQ(outcome.tilt, 0);
  const Eigen::Vector4d q = testing::cameraFromBase(head, 0, 0) * Eigen::Vector4d(0.2, 0, 0, 1);
  EXPECT_LT(q.z(), -0.29);
}

}  // namespace
}  // namespace norv::calibration
