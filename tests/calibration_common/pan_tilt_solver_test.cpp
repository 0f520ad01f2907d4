// The inverse of a pan-tilt head, PanTiltModel::computePanTilt: what it works out, step by step.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <Eigen/Geometry>
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "calibration_common/pan_tilt_model.h"
#include "testing/example_ptz.h"
#include "testing/log_capture.h"
#include "testing/random_head.h"
#include "testing/solver_outcome.h"
#include "testing/solver_stages.h"

namespace norv::calibration {
namespace {

using internal::GaussNewtonStep;
using internal::PanTiltStart;
using testing::CapturedLog;
using ::testing::Contains;
using ::testing::ElementsAre;
using testing::headWithGap;
using testing::headWithoutLeverArms;
using testing::kAxis;
using testing::kNothingWritten;
using testing::kRadians;
using testing::lines;
using testing::LogLine;
using testing::makeHead;
using testing::ScopedLogCapture;
using testing::solve;
using testing::solverInfo;
using testing::SolverOutcome;
using testing::solverStages;
using testing::solverWarning;
using testing::storePose;
using testing::streamed;

constexpr float kInfinity = std::numeric_limits<float>::infinity();

/// Expects a vector to six digits.
void expectVector(const Vector3_f& actual, const Vector3_f& expected) {
  EXPECT_LT((actual - expected).norm(), 2e-6F) << actual.transpose();
}

/// The head without lever arms, with offsets. (3, -4, 12) has the azimuth -atan(4 / 3) and the
/// elevation atan(12 / 5): positive pan turns to the right.
PanTiltSystemParameters headWithOffsets() {
  PanTiltSystemParameters head = headWithoutLeverArms();
  head.set_pan_offset(10);
  head.set_tilt_offset(-20);
  return head;
}
const Vector3_f kTarget(3, -4, 12);
const double kTargetPan = std::atan2(4, 3);
const double kTargetTilt = std::atan2(12, 5);

TEST(PanTiltSolver, SolvesByHand) {
  const SolverOutcome outcome = solve(headWithOffsets(), kTarget, kAxis);
  EXPECT_TRUE(outcome.solved);
  // Angle / scale + offset. Measured: 5e-5 steps, of 0.0005 rad.
  const auto scale = static_cast<double>(0.0005F);
  EXPECT_NEAR(static_cast<double>(outcome.pan), kTargetPan / scale + 10, 5e-4);
  EXPECT_NEAR(static_cast<double>(outcome.tilt), kTargetTilt / scale - 20, 5e-4);
  EXPECT_LE(outcome.answer.error, 1e-5);
}

TEST(PanTiltSolver, SolvesForARayBesideTheAxis) {
  // 45 degrees below the axis: a point straight ahead is seen there once the camera looks up by as
  // much.
  SolverOutcome outcome = solve(headWithoutLeverArms(), {5, 0, 0}, {0, 1});
  EXPECT_TRUE(outcome.solved);
  EXPECT_NEAR(static_cast<double>(outcome.pan), 0, 1e-3);
  EXPECT_NEAR(static_cast<double>(outcome.tilt), 45 * kRadians / 0.0005, 1e-3);
  // 45 degrees to the right: once it looks to the left by as much.
  outcome = solve(headWithoutLeverArms(), {5, 0, 0}, {1, 0});
  EXPECT_TRUE(outcome.solved);
  EXPECT_NEAR(static_cast<double>(outcome.pan), -45 * kRadians / 0.0005, 1e-3);
  EXPECT_NEAR(static_cast<double>(outcome.tilt), 0, 1e-3);
}

TEST(PanTiltSolver, LinesInOrder) {
  const SolverOutcome outcome = solve(headWithOffsets(), kTarget, kAxis);
  std::vector<std::string> begins;
  for (const CapturedLog& log : outcome.logs) {
    EXPECT_EQ(log.channel, "pan_tilt_model");
    begins.push_back(std::to_string(log.level) + " " +
                     log.text.substr(0, log.text.find_first_of("=:") + 1));
  }
  EXPECT_THAT(begins,
              ElementsAre("5 world=", "5 w3=", "5 pan_axis=", "5 tilt_axis=", "5 roll_axis=",
                          "5 u=", "5 v=", "5 Pan/tilt estimates:", "6 0 Error=", "6 1 Error=",
                          "6 2 Error=", "6 3 Error=", "6 4 Error=", "5 last_error=",
                          "5 Pan/tilt (rads):", "5 Pan/tilt (steps):"));
}

TEST(PanTiltSolver, InfoLinesByHand) {
  const SolverOutcome outcome = solve(headWithOffsets(), kTarget, kAxis);
  const auto all = lines(outcome.logs);
  ASSERT_EQ(all.size(), 16U);
  // Eigen aligns the elements of a column.
  EXPECT_EQ(all[0], solverInfo("world= 3\n-4\n12 dev=0\n0"));
  EXPECT_EQ(all[1], solverInfo("w3= 3\n-4\n12"));
  EXPECT_EQ(all[2], solverInfo("pan_axis=0\n0\n1"));
  const PanTiltStart start = solverStages(headWithOffsets(), kTarget, kAxis).start;
  EXPECT_EQ(all[3], solverInfo("tilt_axis=" + streamed(start.axes.tilt)));
  EXPECT_EQ(all[4], solverInfo("roll_axis=" + streamed(start.axes.roll)));
  EXPECT_EQ(all[5], solverInfo("u=" + streamed(start.target)));
  EXPECT_EQ(all[6], solverInfo("v=" + streamed(start.ray)));
  expectVector(start.axes.tilt, {0, 1, 0});
  expectVector(start.axes.roll, {1, 0, 0});
  expectVector(start.target, Vector3_f(3, -4, 12) / 13);
  expectVector(start.ray, {1, 0, 0});
  // atan(4 / 3) and atan(12 / 5); then in steps, without the offsets that the results have.
  EXPECT_EQ(all[7], solverInfo("Pan/tilt estimates:0.927295 1.17601"));
  EXPECT_EQ(all[14], solverInfo("Pan/tilt (rads): 0.927295 1.17601"));
  EXPECT_EQ(all[15], solverInfo("Pan/tilt (steps):1854.59 2352.01"));
}

TEST(PanTiltSolver, AxesAreThoseOfTheHeadAtZeroAngles) {
  // Looking up by 30 degrees at zero tilt, towards azimuth 180 degrees. The axes are not
  // normalised, and combine with the vectors' components as columns.
  std::mt19937_64 random(70);
  PanTiltSystemParameters head = makeHead({180 * kRadians, 30 * kRadians, 1, 0}, &random);
  storePose(Eigen::Matrix4d(Eigen::Matrix4d::Identity()), head.mutable_base_to_pan());
  const auto half = static_cast<float>(std::sqrt(0.75));
  EXPECT_TRUE(solve(head, {-5, 0, 1}, kAxis).solved);
  const PanTiltStart start = solverStages(head, {-5, 0, 1}, kAxis).start;
  expectVector(start.axes.tilt, {0, -half, 0});
  expectVector(start.axes.roll, {-half, 0, 0});
  expectVector(start.target, Vector3_f(5 * half, 0, 1).normalized());
  expectVector(start.ray, Vector3_f(0.75F, 0, 0.5F).normalized());
}

TEST(PanTiltSolver, ColumnsAreTheRuleWhateverTheAzimuth) {
  // Towards azimuth 90 degrees: tilt axis -x, roll axis y. The x component multiplies the roll
  // axis.
  std::mt19937_64 random(71);
  PanTiltSystemParameters head = makeHead({90 * kRadians, 0, 1, 0}, &random);
  storePose(Eigen::Matrix4d(Eigen::Matrix4d::Identity()), head.mutable_base_to_pan());
  const PanTiltStart start = solverStages(head, {2, 3, 6}, kAxis).start;
  expectVector(start.axes.tilt, {-1, 0, 0});
  expectVector(start.axes.roll, {0, 1, 0});
  expectVector(start.target, Vector3_f(-3, 2, 6) / 7);
  expectVector(start.ray, {-1, 0, 0});
}

/// Gauss-Newton steps in double by differences and Cramer's rule.
std::vector<GaussNewtonStep> referenceSteps(const PanTiltSystemParameters& head,
                                            const Vector3_f& world, const Vector2_f& dev,
                                            double pan, double tilt, int count) {
  const auto residual = [&](double a, double b) {
    const Eigen::Vector4d q =
        testing::cameraFromBase(head, a, b) * world.cast<double>().homogeneous();
    return Eigen::Vector3d(dev.cast<double>().homogeneous().cross(q.head<3>()));
  };
  std::vector<GaussNewtonStep> steps;
  for (int k = 0; k < count; ++k) {
    constexpr double kStep = 1e-5;
    const Eigen::Vector3d r = residual(pan, tilt);
    const Eigen::Vector3d x =
        (residual(pan + kStep, tilt) - residual(pan - kStep, tilt)) / (2 * kStep);
    const Eigen::Vector3d y =
        (residual(pan, tilt + kStep) - residual(pan, tilt - kStep)) / (2 * kStep);
    const double determinant = x.dot(x) * y.dot(y) - x.dot(y) * x.dot(y);
    const double dx = (-x.dot(r) * y.dot(y) + y.dot(r) * x.dot(y)) / determinant;
    const double dy = (-y.dot(r) * x.dot(x) + x.dot(r) * x.dot(y)) / determinant;
    steps.push_back({r.squaredNorm(), dx, dy, {r[0], r[1], r[2]}});
    pan += dx;
    tilt += dy;
  }
  return steps;
}

/// A point at the edge of the blind column around the pan axis: the normal matrix is singular at
/// the solution, and each step halves the way to it.
const Vector3_f kBlindEdge(0.1F, 0, 0.3F);
constexpr double kBlindRadius = 0.1;

TEST(PanTiltSolver, FiveGaussNewtonSteps) {
  const SolverOutcome outcome = solve(headWithGap(kBlindRadius), kBlindEdge, kAxis);
  EXPECT_THAT(outcome.infoTexts(), Contains("Pan/tilt estimates:0 1.24905"));
  double pan = 0;
  double tilt = std::atan2(0.3, 0.1);
  const auto expected = referenceSteps(headWithGap(kBlindRadius), kBlindEdge, kAxis, pan, tilt, 6);
  const testing::SolverStages stages = solverStages(headWithGap(kBlindRadius), kBlindEdge, kAxis);
  const auto& actual = stages.steps;
  ASSERT_EQ(actual.size(), 5U);
  for (std::size_t k = 0; k < actual.size(); ++k) {
    SCOPED_TRACE(k);
    // Measured: 1.5e-7.
    constexpr double kTolerance = 6e-7;
    EXPECT_NEAR(actual[k].error, expected[k].error, kTolerance);
    EXPECT_NEAR(actual[k].pan_change, expected[k].pan_change, kTolerance);
    EXPECT_NEAR(actual[k].tilt_change, expected[k].tilt_change, kTolerance);
    for (std::size_t i = 0; i < 3; ++i) {
      EXPECT_NEAR(actual[k].residual[i], expected[k].residual[i], kTolerance);
    }
  }
  for (std::size_t k = 0; k < 5; ++k) {
    pan += expected[k].pan_change;
    tilt += expected[k].tilt_change;
  }
  // Neither one step less nor one more.
  EXPECT_GT(std::hypot(expected[4].pan_change, expected[4].tilt_change), 1e-2)
      << "too easy a problem";
  EXPECT_GT(std::hypot(expected[5].pan_change, expected[5].tilt_change), 1e-2)
      << "too easy a problem";
  const auto scale = static_cast<double>(0.0005F);
  // Measured: 5e-7.
  EXPECT_NEAR(static_cast<double>(outcome.pan) * scale, pan, 3e-6);
  EXPECT_NEAR(static_cast<double>(outcome.tilt) * scale, tilt, 3e-6);
}

TEST(PanTiltSolver, EachStepIsTraced) {
  const SolverOutcome outcome = solve(headWithGap(kBlindRadius), kBlindEdge, kAxis);
  std::vector<LogLine> traced = lines(outcome.logs);
  traced.erase(std::remove_if(traced.begin(), traced.end(),
                              [](const LogLine& line) { return line.level != kLogDebug; }),
               traced.end());
  EXPECT_EQ(traced, testing::stepLines(solverStages(headWithGap(kBlindRadius), kBlindEdge, kAxis)));
}

TEST(PanTiltSolver, TheJudgedErrorIsThatBeforeTheLastStep) {
  // Within the blind column there is no solution, and the steps do not settle.
  const PanTiltSystemParameters head = headWithGap(kBlindRadius);
  const Vector3_f world(0.095F, 0, 0.3F);
  const SolverOutcome outcome = solve(head, world, kAxis);
  const auto steps = solverStages(head, world, kAxis).steps;
  ASSERT_EQ(steps.size(), 5U);
  EXPECT_EQ(outcome.answer.error, steps[4].error);
  const auto scale = static_cast<double>(0.0005F);
  const Eigen::Vector4d q = testing::cameraFromBase(head, static_cast<double>(outcome.pan) * scale,
                                                    static_cast<double>(outcome.tilt) * scale) *
                            world.cast<double>().homogeneous();
  const double after = q.head<2>().squaredNorm();
  // 2.7e-5 is judged, 2e-3 is what the result has.
  EXPECT_LT(steps[4].error, 1e-4);
  EXPECT_GT(after, 1e-3);
  EXPECT_THAT(
      outcome.linesUpTo(kLogWarning),
      ElementsAre(solverWarning("High residual error for pan tilt: world=" + streamed(world) +
                                " dev=0\n0 error=" + streamed(outcome.answer.error))));
}

TEST(PanTiltSolver, StepsLineOmitsTheOffsets) {
  PanTiltSystemParameters head = headWithOffsets();
  const SolverOutcome near = solve(head, kTarget, kAxis);
  head.set_pan_offset(5000);
  head.set_tilt_offset(-7000);
  const SolverOutcome far = solve(head, kTarget, kAxis);
  EXPECT_THAT(near.infoTexts(), Contains("Pan/tilt (steps):1854.59 2352.01"));
  EXPECT_THAT(far.infoTexts(), Contains("Pan/tilt (steps):1854.59 2352.01"));
  EXPECT_NEAR(static_cast<double>(far.pan - near.pan), 5000 - 10, 1e-3);
  EXPECT_NEAR(static_cast<double>(far.tilt - near.tilt), -7000 + 20, 1e-3);
}

TEST(PanTiltSolver, AnglesBecomeStepsInDouble) {
  // A little more than half a step, by less than float can tell; 16777214.5 is a tie, which would
  // go to the even 16777214.
  const double angle = std::atan2(5.0 / 64, 1.0);
  const auto scale = static_cast<float>(2 * angle);
  const double steps = angle / static_cast<double>(scale);
  ASSERT_GT(steps, 0.5 + 2e-9);
  ASSERT_EQ(static_cast<float>(steps), 0.5F);
  PanTiltSystemParameters head = headWithoutLeverArms();
  head.set_pan_scale(scale);
  head.set_tilt_scale(scale);
  head.set_pan_offset(16777214);
  head.set_tilt_offset(16777214);
  EXPECT_EQ(solve(head, {1, -5.0F / 64, 0}, kAxis).pan, 16777215.0F);
  EXPECT_EQ(solve(head, {1, 0, 5.0F / 64}, kAxis).tilt, 16777215.0F);
}

TEST(PanTiltSolver, ZeroScalesGiveResultsThatAreNotFinite) {
  PanTiltSystemParameters head = headWithOffsets();
  head.set_pan_scale(0);
  head.set_tilt_scale(-0.0F);
  SolverOutcome outcome = solve(head, kTarget, kAxis);
  EXPECT_TRUE(outcome.solved);
  EXPECT_EQ(outcome.pan, kInfinity);
  EXPECT_EQ(outcome.tilt, -kInfinity);
  EXPECT_THAT(outcome.infoTexts(), Contains("Pan/tilt (steps):inf -inf"));
  // A level target straight ahead: 0 / 0.
  outcome = solve(head, {4, 0, 0}, kAxis);
  EXPECT_TRUE(outcome.solved);
  EXPECT_TRUE(std::isnan(outcome.pan));
  EXPECT_TRUE(std::isnan(outcome.tilt));
}

TEST(PanTiltSolver, DefaultModelDividesByItsZeroScales) {
  ScopedLogCapture capture;
  float pan = kNothingWritten;
  float tilt = kNothingWritten;
  // All its poses are zero, and with them the residual.
  EXPECT_TRUE(PanTiltModel().computePanTilt(kTarget, kAxis, &pan, &tilt));
  EXPECT_TRUE(std::isnan(pan));
  EXPECT_TRUE(std::isnan(tilt));
}

TEST(PanTiltSolver, PanIsNotWrapped) {
  // The arm of 50 mm to the side takes the optical axis round a point close to the pan axis: beyond
  // half a turn. Seen from the joint the point lies at 179 degrees; the arm adds asin(0.05 / 0.1) =
  // 30 degrees.
  PanTiltSystemParameters head = headWithGap(0.05);
  const double azimuth = 179 * kRadians;
  const Vector3_f world(static_cast<float>(0.1 * std::cos(azimuth)),
                        static_cast<float>(-0.1 * std::sin(azimuth)), 0.5F);
  const SolverOutcome outcome = solve(head, world, kAxis);
  EXPECT_TRUE(outcome.solved);
  EXPECT_NEAR(static_cast<double>(outcome.pan) * 0.0005, 209 * kRadians, 1e-4);
}

}  // namespace
}  // namespace norv::calibration
