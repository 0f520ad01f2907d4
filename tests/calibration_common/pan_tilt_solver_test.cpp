// The inverse of a pan-tilt head: PanTiltModel::computePanTilt.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <Eigen/Geometry>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "calibration_common/pan_tilt_model.h"
#include "tests/testing/example_ptz.h"
#include "tests/testing/log_capture.h"
#include "tests/testing/random_head.h"

namespace norv::calibration {
namespace {

using testing::CapturedLog;
using ::testing::ElementsAre;
using testing::exampleHead;
using testing::headModel;
using testing::headWithoutLeverArms;
using ::testing::IsEmpty;
using testing::kRadians;
using testing::lines;
using testing::LogLine;
using testing::makeHead;
using testing::ScopedLogCapture;
using testing::Steps;
using testing::storePose;
using testing::uniform;
using testing::UprightHead;

constexpr float kUntouched = -12345;
constexpr float kInfinity = std::numeric_limits<float>::infinity();
const Vector2_f kAxis(0, 0);  // the optical axis

/// What a call returned, wrote and logged.
struct Outcome {
  bool solved;
  float pan = kUntouched;
  float tilt = kUntouched;
  std::vector<CapturedLog> logs;

  std::vector<LogLine> linesUpTo(int level) const {
    std::vector<LogLine> result = lines(logs);
    result.erase(std::remove_if(result.begin(), result.end(),
                                [&](const LogLine& line) { return line.level > level; }),
                 result.end());
    return result;
  }

  /// What follows `prefix` in the info line that begins with it.
  std::string info(const std::string& prefix) const {
    for (const CapturedLog& log : logs) {
      if (log.level == kLogInfo && log.text.rfind(prefix, 0) == 0) {
        return log.text.substr(prefix.size());
      }
    }
    return "(no such line)";
  }
};

Outcome solve(const PanTiltSystemParameters& head, const Vector3_f& world, const Vector2_f& dev) {
  const PanTiltModel model = headModel(head);
  ScopedLogCapture capture;
  Outcome outcome;
  outcome.solved = model.computePanTilt(world, dev, &outcome.pan, &outcome.tilt);
  outcome.logs = capture.take();
  return outcome;
}

template <class T>
std::string streamed(const T& value) {
  std::ostringstream out;
  out << value;
  return out.str();
}

LogLine info(const std::string& text) { return {5, "pan_tilt_model", text}; }
LogLine warning(const std::string& text) { return {3, "pan_tilt_model", text}; }
LogLine error(const std::string& text) { return {2, "pan_tilt_model", text}; }

/// A number of the line, with `0` for `-0`.
double number(const std::string& text) { return std::stod(text) + 0.0; }

/// Expects a streamed vector that is `expected` to six digits.
void expectVector(const std::string& text, const Vector3_f& expected) {
  std::istringstream in(text);
  Vector3_f actual;
  in >> actual.x() >> actual.y() >> actual.z();
  EXPECT_LT((actual - expected).norm(), 2e-6F) << text;
  EXPECT_EQ(text, streamed(actual));
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
  const Outcome outcome = solve(headWithOffsets(), kTarget, kAxis);
  EXPECT_TRUE(outcome.solved);
  // Angle / scale + offset. Measured: 5e-5 steps, of 0.0005 rad.
  const auto scale = static_cast<double>(0.0005F);
  EXPECT_NEAR(static_cast<double>(outcome.pan), kTargetPan / scale + 10, 5e-4);
  EXPECT_NEAR(static_cast<double>(outcome.tilt), kTargetTilt / scale - 20, 5e-4);
  EXPECT_LE(number(outcome.info("last_error=")), 1e-5);
}

TEST(PanTiltSolver, SolvesForARayBesideTheAxis) {
  // 45 degrees below the axis: a point straight ahead is seen there once the camera looks up by as
  // much.
  Outcome outcome = solve(headWithoutLeverArms(), {5, 0, 0}, {0, 1});
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
  const Outcome outcome = solve(headWithOffsets(), kTarget, kAxis);
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
  const Outcome outcome = solve(headWithOffsets(), kTarget, kAxis);
  const auto all = lines(outcome.logs);
  ASSERT_EQ(all.size(), 16U);
  // Eigen aligns the elements of a column.
  EXPECT_EQ(all[0], info("world= 3\n-4\n12 dev=0\n0"));
  EXPECT_EQ(all[1], info("w3= 3\n-4\n12"));
  EXPECT_EQ(all[2], info("pan_axis=0\n0\n1"));
  expectVector(outcome.info("tilt_axis="), {0, 1, 0});
  expectVector(outcome.info("roll_axis="), {1, 0, 0});
  expectVector(outcome.info("u="), Vector3_f(3, -4, 12) / 13);
  expectVector(outcome.info("v="), {1, 0, 0});
  // atan(4 / 3) and atan(12 / 5); then in steps, without the offsets that the results have.
  EXPECT_EQ(all[7], info("Pan/tilt estimates:0.927295 1.17601"));
  EXPECT_EQ(all[14], info("Pan/tilt (rads): 0.927295 1.17601"));
  EXPECT_EQ(all[15], info("Pan/tilt (steps):1854.59 2352.01"));
}

TEST(PanTiltSolver, AxesAreThoseOfTheHeadAtZeroAngles) {
  // Looking up by 30 degrees at zero tilt, towards azimuth 180 degrees. The axes are not
  // normalised, and combine with the vectors' components as columns.
  std::mt19937_64 random(70);
  PanTiltSystemParameters head = makeHead({180 * kRadians, 30 * kRadians, 1, 0}, &random);
  storePose(Eigen::Matrix4d(Eigen::Matrix4d::Identity()), head.mutable_base_to_pan());
  const auto half = static_cast<float>(std::sqrt(0.75));
  const Outcome outcome = solve(head, {-5, 0, 1}, kAxis);
  EXPECT_TRUE(outcome.solved);
  expectVector(outcome.info("tilt_axis="), {0, -half, 0});
  expectVector(outcome.info("roll_axis="), {-half, 0, 0});
  expectVector(outcome.info("u="), Vector3_f(5 * half, 0, 1).normalized());
  expectVector(outcome.info("v="), Vector3_f(0.75F, 0, 0.5F).normalized());
}

TEST(PanTiltSolver, ColumnsAreTheRuleWhateverTheAzimuth) {
  // Towards azimuth 90 degrees: tilt axis -x, roll axis y. The x component multiplies the roll
  // axis.
  std::mt19937_64 random(71);
  PanTiltSystemParameters head = makeHead({90 * kRadians, 0, 1, 0}, &random);
  storePose(Eigen::Matrix4d(Eigen::Matrix4d::Identity()), head.mutable_base_to_pan());
  const Outcome outcome = solve(head, {2, 3, 6}, kAxis);
  expectVector(outcome.info("tilt_axis="), {-1, 0, 0});
  expectVector(outcome.info("roll_axis="), {0, 1, 0});
  expectVector(outcome.info("u="), Vector3_f(-3, 2, 6) / 7);
  expectVector(outcome.info("v="), {-1, 0, 0});
}

/// A line of the trace.
struct Step {
  int k;
  double error, dx, dy, r0, r1, r2;
};

std::vector<Step> trace(const Outcome& outcome) {
  std::vector<Step> steps;
  for (const CapturedLog& log : outcome.logs) {
    if (log.level != kLogDebug) continue;
    const char* format = "%d Error=%lf  dx=%lf,dy=%lf residuals=%lf,%lf,%lf";
    Step s{};
    EXPECT_EQ(
        std::sscanf(log.text.c_str(), format, &s.k, &s.error, &s.dx, &s.dy, &s.r0, &s.r1, &s.r2),
        7);
    char again[200];
    std::snprintf(again, sizeof(again), "%d Error=%f  dx=%f,dy=%f residuals=%f,%f,%f", s.k, s.error,
                  s.dx, s.dy, s.r0, s.r1, s.r2);
    EXPECT_EQ(log.text, again);
    steps.push_back(s);
  }
  return steps;
}

/// Gauss-Newton steps in double by differences and Cramer's rule.
std::vector<Step> referenceSteps(const PanTiltSystemParameters& head, const Vector3_f& world,
                                 const Vector2_f& dev, double pan, double tilt, int count) {
  const auto residual = [&](double a, double b) {
    const Eigen::Vector4d q =
        testing::cameraFromBase(head, a, b) * world.cast<double>().homogeneous();
    return Eigen::Vector3d(dev.cast<double>().homogeneous().cross(q.head<3>()));
  };
  std::vector<Step> steps;
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
    steps.push_back({k, r.squaredNorm(), dx, dy, r[0], r[1], r[2]});
    pan += dx;
    tilt += dy;
  }
  return steps;
}

/// The head without lever arms but with the optical axis `gap` metres beside the pan axis.
PanTiltSystemParameters headWithGap(double gap) {
  PanTiltSystemParameters head = headWithoutLeverArms();
  head.mutable_tilt_to_camera()->set_a(3, 1000 * gap);
  return head;
}

/// A point at the edge of the blind column around the pan axis: the normal matrix is singular at
/// the solution, and each step halves the way to it.
const Vector3_f kBlindEdge(0.1F, 0, 0.3F);
constexpr double kBlindRadius = 0.1;

TEST(PanTiltSolver, FiveGaussNewtonStepsAndTheirTrace) {
  const Outcome outcome = solve(headWithGap(kBlindRadius), kBlindEdge, kAxis);
  EXPECT_EQ(outcome.info("Pan/tilt estimates:"), "0 1.24905");
  double pan = 0;
  double tilt = std::atan2(0.3, 0.1);
  const auto expected = referenceSteps(headWithGap(kBlindRadius), kBlindEdge, kAxis, pan, tilt, 6);
  const auto actual = trace(outcome);
  ASSERT_EQ(actual.size(), 5U);
  for (std::size_t k = 0; k < actual.size(); ++k) {
    SCOPED_TRACE(k);
    EXPECT_EQ(actual[k].k, static_cast<int>(k));
    // The lines have six decimals. Measured: 5e-7.
    EXPECT_NEAR(actual[k].error, expected[k].error, 2e-6);
    EXPECT_NEAR(actual[k].dx, expected[k].dx, 2e-6);
    EXPECT_NEAR(actual[k].dy, expected[k].dy, 2e-6);
    EXPECT_NEAR(actual[k].r0, expected[k].r0, 2e-6);
    EXPECT_NEAR(actual[k].r1, expected[k].r1, 2e-6);
    EXPECT_NEAR(actual[k].r2, expected[k].r2, 2e-6);
  }
  for (std::size_t k = 0; k < 5; ++k) {
    pan += expected[k].dx;
    tilt += expected[k].dy;
  }
  // Neither one step less nor one more.
  EXPECT_GT(std::hypot(expected[4].dx, expected[4].dy), 1e-2) << "too easy a problem";
  EXPECT_GT(std::hypot(expected[5].dx, expected[5].dy), 1e-2) << "too easy a problem";
  const auto scale = static_cast<double>(0.0005F);
  // Measured: 5e-7.
  EXPECT_NEAR(static_cast<double>(outcome.pan) * scale, pan, 3e-6);
  EXPECT_NEAR(static_cast<double>(outcome.tilt) * scale, tilt, 3e-6);
}

TEST(PanTiltSolver, TheJudgedErrorIsThatBeforeTheLastStep) {
  // Within the blind column there is no solution, and the steps do not settle.
  const PanTiltSystemParameters head = headWithGap(kBlindRadius);
  const Vector3_f world(0.095F, 0, 0.3F);
  const Outcome outcome = solve(head, world, kAxis);
  const auto steps = trace(outcome);
  ASSERT_EQ(steps.size(), 5U);
  EXPECT_NEAR(number(outcome.info("last_error=")), steps[4].error, 1e-6);
  const auto scale = static_cast<double>(0.0005F);
  const Eigen::Vector4d q = testing::cameraFromBase(head, static_cast<double>(outcome.pan) * scale,
                                                    static_cast<double>(outcome.tilt) * scale) *
                            world.cast<double>().homogeneous();
  const double after = q.head<2>().squaredNorm();
  // 2.7e-5 is judged, 2e-3 is what the result has.
  EXPECT_LT(steps[4].error, 1e-4);
  EXPECT_GT(after, 1e-3);
  EXPECT_THAT(outcome.linesUpTo(kLogWarning),
              ElementsAre(warning("High residual error for pan tilt: world=" + streamed(world) +
                                  " dev=0\n0 error=" + outcome.info("last_error="))));
}

// ------------------------------------------------------------------------------------- candidates

TEST(PanTiltSolver, CandidatesAreTakenInOrderWithinTheTolerance) {
  // A ray just below the axis by w: the closed form finds the tilts -w, which misses it by 2 w, and
  // w. Up to 1e-4 the first one does.
  Outcome outcome = solve(headWithoutLeverArms(), {4, 0, 0}, {0, 4.9e-5F});
  EXPECT_EQ(outcome.info("Pan/tilt estimates:"), "0 -4.9e-05");
  EXPECT_TRUE(outcome.solved);
  EXPECT_NEAR(static_cast<double>(outcome.tilt), 4.9e-5 / 0.0005, 1e-4);
  outcome = solve(headWithoutLeverArms(), {4, 0, 0}, {0, 5.1e-5F});
  EXPECT_EQ(outcome.info("Pan/tilt estimates:"), "0 5.1e-05");
  EXPECT_TRUE(outcome.solved);
  EXPECT_NEAR(static_cast<double>(outcome.tilt), 5.1e-5 / 0.0005, 1e-4);
}

TEST(PanTiltSolver, TheStartTurnsTowardsTheTargetAndNotOverTheBack) {
  // Behind the head: half a turn of pan, not half a turn of tilt.
  const Outcome outcome = solve(headWithoutLeverArms(), {-4, 0.01F, 1}, kAxis);
  EXPECT_TRUE(outcome.solved);
  EXPECT_NEAR(std::abs(static_cast<double>(outcome.pan)) * 0.0005, std::atan2(0.01, -4), 1e-5);
  EXPECT_NEAR(static_cast<double>(outcome.tilt) * 0.0005, std::atan2(1, 4), 1e-5);
}

/// The head with its tilt joint mounted the other way round: positive tilt lowers the camera.
PanTiltSystemParameters flippedTiltJoint() {
  PanTiltSystemParameters head = headWithoutLeverArms();
  storePose({1, 0, 0, 0, 0, 0, 1, 0, 0, -1, 0, 0}, head.mutable_pan_to_tilt());
  storePose({0, 0, 1, 0, 0, -1, 0, 0, 1, 0, 0, 0}, head.mutable_tilt_to_camera());
  return head;
}

TEST(PanTiltSolver, StartTiltIsNegatedWhenTheJointPointsTheOtherWay) {
  Outcome outcome = solve(headWithoutLeverArms(), {2, 0, 2}, kAxis);
  EXPECT_EQ(outcome.info("Pan/tilt estimates:"), "0 0.785398");
  EXPECT_TRUE(outcome.solved);
  EXPECT_NEAR(static_cast<double>(outcome.tilt) * 0.0005, 45 * kRadians, 1e-6);
  outcome = solve(flippedTiltJoint(), {2, 0, 2}, kAxis);
  EXPECT_EQ(outcome.info("Pan/tilt estimates:"), "0 -0.785398");
  EXPECT_TRUE(outcome.solved);
  EXPECT_NEAR(static_cast<double>(outcome.tilt) * 0.0005, -45 * kRadians, 1e-6);
}

TEST(PanTiltSolver, StartTiltIsNegatedWhenTheJointIsSquareToTheTiltAxis) {
  // Both joints turn about the same axis; the optical axis is level.
  PanTiltSystemParameters head = headWithoutLeverArms();
  storePose({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0}, head.mutable_pan_to_tilt());
  storePose({0, -1, 0, 0, 0, 0, -1, 0, 1, 0, 0, 0}, head.mutable_tilt_to_camera());
  EXPECT_EQ(solve(head, {2, 0, 2}, kAxis).info("Pan/tilt estimates:"), "0 -0.785398");
}

TEST(PanTiltSolver, NoCandidateBeyondARightAngleOfTilt) {
  // Looking down by 60 degrees at zero tilt: 80 degrees up is out of reach, on this line of the
  // closed form atan(tan(80 deg) / cos(60 deg)) + atan(tan(60 deg) / cos(60 deg)) = 158.9 degrees
  // of tilt away.
  std::mt19937_64 random(72);
  PanTiltSystemParameters head = makeHead({0, -60 * kRadians, 1, 0}, &random);
  storePose(Eigen::Matrix4d(Eigen::Matrix4d::Identity()), head.mutable_base_to_pan());
  Outcome outcome = solve(head, {1, 0, 6}, kAxis);
  EXPECT_FALSE(outcome.solved);
  EXPECT_EQ(outcome.pan, kUntouched);
  EXPECT_EQ(outcome.tilt, kUntouched);
  EXPECT_THAT(outcome.linesUpTo(kLogWarning),
              ElementsAre(error("Could not find solutions for pan tilt: world=1\n0\n6 dev=0\n0")));
  // Nothing comes after that line.
  EXPECT_EQ(outcome.logs.size(), 8U);
  EXPECT_EQ(outcome.logs.back().level, kLogError);
  // A level target is within reach: 60 degrees.
  outcome = solve(head, {1, 0, 0}, kAxis);
  EXPECT_TRUE(outcome.solved);
  EXPECT_THAT(outcome.linesUpTo(kLogWarning), IsEmpty());
}

TEST(PanTiltSolver, NoCandidateForARayThatTheHeadCannotTurnToTheTarget) {
  // Straight up is a direction that pan does not change; a ray far beside the axis never points
  // there.
  const Outcome outcome = solve(headWithoutLeverArms(), {0, 0, 3}, {0.5F, 0});
  EXPECT_FALSE(outcome.solved);
  EXPECT_EQ(outcome.pan, kUntouched);
  EXPECT_EQ(outcome.tilt, kUntouched);
  EXPECT_THAT(
      outcome.linesUpTo(kLogWarning),
      ElementsAre(error("Could not find solutions for pan tilt: world=0\n0\n3 dev=0.5\n  0")));
}

TEST(PanTiltSolver, NoCandidateForInputThatIsNotFinite) {
  for (const float bad : {std::nanf(""), kInfinity, -kInfinity}) {
    const std::string text = streamed(bad);
    for (int i = 0; i < 5; ++i) {
      Vector3_f world(3, -4, 12);
      Vector2_f dev(0, 0);
      (i < 3 ? world[i] : dev[i - 3]) = bad;
      const Outcome outcome = solve(exampleHead(), world, dev);
      EXPECT_FALSE(outcome.solved);
      EXPECT_EQ(outcome.pan, kUntouched);
      EXPECT_EQ(outcome.tilt, kUntouched);
      EXPECT_THAT(outcome.linesUpTo(kLogWarning),
                  ElementsAre(error("Could not find solutions for pan tilt: world=" +
                                    streamed(world) + " dev=" + streamed(dev))));
    }
  }
}

TEST(PanTiltSolver, NoCandidateForAHeadThatIsNotFinite) {
  for (const double bad : {std::nan(""), static_cast<double>(kInfinity)}) {
    for (const int which : {0, 1, 2}) {
      PanTiltSystemParameters head = exampleHead();
      (which == 0   ? head.mutable_base_to_pan()
       : which == 1 ? head.mutable_pan_to_tilt()
                    : head.mutable_tilt_to_camera())
          ->set_a(0, bad);
      const Outcome outcome = solve(head, {3, -4, 12}, kAxis);
      EXPECT_FALSE(outcome.solved);
      EXPECT_EQ(outcome.pan, kUntouched);
      EXPECT_THAT(
          outcome.linesUpTo(kLogWarning),
          ElementsAre(error("Could not find solutions for pan tilt: world= 3\n-4\n12 dev=0\n0")));
    }
  }
}

// --------------------------------------------------------------------------------------- verdicts

/// A point straight above, on the pan axis: the axis passes it at the gap, whatever pan and tilt.
const Vector3_f kAbove(0, 0, 2);

void expectStraightUp(const Outcome& outcome) {
  EXPECT_EQ(outcome.pan, 0);
  EXPECT_NEAR(static_cast<double>(outcome.tilt), 90 * kRadians / 0.0005, 1e-3);
}

TEST(PanTiltSolver, GoodResidualIsSilent) {
  const Outcome outcome = solve(headWithGap(0.0031), kAbove, kAxis);
  EXPECT_TRUE(outcome.solved);
  EXPECT_EQ(outcome.info("last_error="), "9.61e-06");
  EXPECT_THAT(outcome.linesUpTo(kLogWarning), IsEmpty());
  expectStraightUp(outcome);
}

TEST(PanTiltSolver, HighResidualIsAWarningAndFailsWithTheResultWritten) {
  const Outcome outcome = solve(headWithGap(0.0034), kAbove, kAxis);
  EXPECT_FALSE(outcome.solved);
  EXPECT_THAT(outcome.linesUpTo(kLogWarning),
              ElementsAre(warning("High residual error for pan tilt: world=0\n0\n2 dev=0\n0 "
                                  "error=1.156e-05")));
  EXPECT_EQ(lines(outcome.logs).back().level, kLogWarning);
  expectStraightUp(outcome);
}

TEST(PanTiltSolver, LargeResidualIsAnErrorAndFailsWithTheResultWritten) {
  const Outcome outcome = solve(headWithGap(0.2), kAbove, kAxis);
  EXPECT_FALSE(outcome.solved);
  EXPECT_THAT(outcome.linesUpTo(kLogWarning),
              ElementsAre(error("Large residual error for pan tilt: world=0\n0\n2 dev=0\n0 "
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

  Outcome solve() const { return calibration::solve(head(), {0, 0, 0}, dev); }
};

TEST(PanTiltSolver, ErrorOfExactlyOneHundredthIsHigh) {
  // Found by search: the squares add up to the number, to the last bit.
  StationaryProblem problem = {{0.0736096501F, -0.0676876605F, 4.80484368e-06F},
                               {0, 3.46368906e-05F}};
  ASSERT_EQ(problem.error(), 0.01);
  Outcome outcome = problem.solve();
  EXPECT_FALSE(outcome.solved);
  EXPECT_THAT(outcome.linesUpTo(kLogWarning),
              ElementsAre(warning("High residual error for pan tilt: world=0\n0\n0 dev=" +
                                  streamed(problem.dev) + " error=0.01")));
  problem.t.x() = std::nextafter(problem.t.x(), 1.0F);
  ASSERT_GT(problem.error(), 0.01);
  outcome = problem.solve();
  EXPECT_FALSE(outcome.solved);
  EXPECT_THAT(outcome.linesUpTo(kLogWarning),
              ElementsAre(error("Large residual error for pan tilt: world=0\n0\n0 dev=" +
                                streamed(problem.dev) + " error=0.01")));
}

TEST(PanTiltSolver, ErrorOfExactlyOneHundredThousandthIsGood) {
  StationaryProblem problem = {{0.00279276934F, -0.00148338778F, 7.88958872e-08F},
                               {0, 8.99034567e-05F}};
  ASSERT_EQ(problem.error(), 1e-5);
  Outcome outcome = problem.solve();
  EXPECT_TRUE(outcome.solved);
  EXPECT_THAT(outcome.linesUpTo(kLogWarning), IsEmpty());
  problem.t.x() = std::nextafter(problem.t.x(), 1.0F);
  ASSERT_GT(problem.error(), 1e-5);
  outcome = problem.solve();
  EXPECT_FALSE(outcome.solved);
  EXPECT_THAT(outcome.linesUpTo(kLogWarning),
              ElementsAre(warning("High residual error for pan tilt: world=0\n0\n0 dev=" +
                                  streamed(problem.dev) + " error=1e-05")));
}

TEST(PanTiltSolver, SingularNormalMatrixLeavesTheStart) {
  const StationaryProblem problem = {{0.125F, 0.25F, 3}, {0, 0}};
  const Outcome outcome = problem.solve();
  // The tilt axis is zero, so that it does not point the joint's way.
  EXPECT_EQ(outcome.info("Pan/tilt estimates:"), "0 -0");
  const auto steps = trace(outcome);
  ASSERT_EQ(steps.size(), 5U);
  for (const Step& step : steps) {
    EXPECT_EQ(step.error, 0.078125);
    EXPECT_EQ(step.dx, 0);
    EXPECT_EQ(step.dy, 0);
    EXPECT_EQ(step.r0, -0.25);
    EXPECT_EQ(step.r1, 0.125);
    EXPECT_EQ(step.r2, 0);
  }
  EXPECT_FALSE(outcome.solved);
  EXPECT_EQ(outcome.pan, 0);
  EXPECT_EQ(outcome.tilt, 0);
}

TEST(PanTiltSolver, OneVanishingPivotLeavesTheOtherAngleFree) {
  // On the pan axis, camera arms in the tilt plane: pan changes nothing, tilt is solved.
  PanTiltSystemParameters head = headWithoutLeverArms();
  head.mutable_tilt_to_camera()->set_a(7, 100);
  const Outcome outcome = solve(head, kAbove, kAxis);
  EXPECT_TRUE(outcome.solved);
  EXPECT_NEAR(static_cast<double>(outcome.pan), 0, 1e-9);
  // The optical axis lies 0.1 m above the joints, so that it meets the point 2 m up before it is
  // upright.
  EXPECT_NEAR(static_cast<double>(outcome.tilt) * 0.0005, 90 * kRadians - std::asin(0.1 / 2), 1e-6);
}

TEST(PanTiltSolver, APointBehindTheCameraOnTheLineOfTheRayCounts) {
  // The camera is half a metre ahead of the joints; the point is between.
  PanTiltSystemParameters head = headWithoutLeverArms();
  head.mutable_tilt_to_camera()->set_a(11, -500);
  const Outcome outcome = solve(head, {0.2F, 0, 0}, kAxis);
  EXPECT_TRUE(outcome.solved);
  EXPECT_EQ(number(outcome.info("last_error=")), 0);
  EXPECT_EQ(outcome.pan, 0);
  EXPECT_EQ(outcome.tilt, 0);
  const Eigen::Vector4d q = testing::cameraFromBase(head, 0, 0) * Eigen::Vector4d(0.2, 0, 0, 1);
  EXPECT_LT(q.z(), -0.29);
}

TEST(PanTiltSolver, StepsLineOmitsTheOffsets) {
  PanTiltSystemParameters head = headWithOffsets();
  const Outcome near = solve(head, kTarget, kAxis);
  head.set_pan_offset(5000);
  head.set_tilt_offset(-7000);
  const Outcome far = solve(head, kTarget, kAxis);
  EXPECT_EQ(near.info("Pan/tilt (steps):"), "1854.59 2352.01");
  EXPECT_EQ(far.info("Pan/tilt (steps):"), "1854.59 2352.01");
  EXPECT_NEAR(static_cast<double>(far.pan - near.pan), 5000 - 10, 1e-3);
  EXPECT_NEAR(static_cast<double>(far.tilt - near.tilt), -7000 + 20, 1e-3);
}

TEST(PanTiltSolver, ZeroScalesGiveResultsThatAreNotFinite) {
  PanTiltSystemParameters head = headWithOffsets();
  head.set_pan_scale(0);
  head.set_tilt_scale(-0.0F);
  Outcome outcome = solve(head, kTarget, kAxis);
  EXPECT_TRUE(outcome.solved);
  EXPECT_EQ(outcome.pan, kInfinity);
  EXPECT_EQ(outcome.tilt, -kInfinity);
  EXPECT_EQ(outcome.info("Pan/tilt (steps):"), "inf -inf");
  // A level target straight ahead: 0 / 0.
  outcome = solve(head, {4, 0, 0}, kAxis);
  EXPECT_TRUE(outcome.solved);
  EXPECT_TRUE(std::isnan(outcome.pan));
  EXPECT_TRUE(std::isnan(outcome.tilt));
}

TEST(PanTiltSolver, DefaultModelDividesByItsZeroScales) {
  ScopedLogCapture capture;
  float pan = kUntouched;
  float tilt = kUntouched;
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
  const Outcome outcome = solve(head, world, kAxis);
  EXPECT_TRUE(outcome.solved);
  EXPECT_NEAR(static_cast<double>(outcome.pan) * 0.0005, 209 * kRadians, 1e-4);
}

// -------------------------------------------------------------------------------------- properties

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

TEST(PanTiltSolver, ForwardThenInverseReturnsTheSteps) {
  std::mt19937_64 random(73);
  double worst = 0;
  for (int trial = 0; trial < 5000; ++trial) {
    const UprightHead build = testing::randomServedBuild(&random);
    const double elevation = uniform(&random, -30, 85) * kRadians;
    // Closer to the pan axis than the arms are long there are two solutions, or none.
    const double depth =
        std::pow(20, uniform(&random, 0, 1)) * std::max(0.5, 0.4 / std::cos(elevation));
    const Posed pose = posed(build, elevation, kAxis, depth, &random);
    const Outcome outcome = solve(pose.head, pose.world, kAxis);
    ASSERT_TRUE(outcome.solved) << trial;
    ASSERT_THAT(outcome.linesUpTo(kLogWarning), IsEmpty());
    worst = std::max(worst, missedBy(pose, outcome.pan, outcome.tilt, elevation));
  }
  // Measured: 2.9e-7 rad, from the rounding of point and head.
  EXPECT_LT(worst, 1.5e-6);
}

TEST(PanTiltSolver, ForwardThenInverseBesideTheAxis) {
  std::mt19937_64 random(74);
  double worst = 0;
  for (int trial = 0; trial < 5000; ++trial) {
    UprightHead build = testing::randomServedBuild(&random);
    build.elevation = 0;
    const double elevation = uniform(&random, -30, 50) * kRadians;
    const Vector2_f dev(static_cast<float>(uniform(&random, -0.3, 0.3)),
                        static_cast<float>(uniform(&random, -0.3, 0.3)));
    const Posed pose = posed(build, elevation, dev, uniform(&random, 2, 20), &random);
    const Outcome outcome = solve(pose.head, pose.world, dev);
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
  storePose(testing::turnZ(-alpha) * testing::readPose(head.base_to_pan()),
            result.mutable_base_to_pan());
  storePose(testing::readPose(head.pan_to_tilt()) * testing::turnZ(alpha),
            result.mutable_pan_to_tilt());
  storePose(testing::readPose(head.tilt_to_camera()) * testing::turnZ(tau),
            result.mutable_tilt_to_camera());
  result.set_tilt_offset(static_cast<float>(static_cast<double>(head.tilt_offset()) +
                                            tau / static_cast<double>(head.tilt_scale())));
  return result;
}

TEST(PanTiltSolver, ReframingChangesNoPose) {
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

TEST(PanTiltSolver, ABadlyFramedHeadIsSolvedOnceItIsReframed) {
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
    const Outcome outcome = solve(reframed(pose.head, build.azimuth, tau), pose.world, kAxis);
    ASSERT_TRUE(outcome.solved) << trial;
    worst = std::max(worst, missedBy(pose, outcome.pan, outcome.tilt, elevation));
  }
  // Measured: 183.
  EXPECT_LT(solved_before, 300);
  // Measured: 2.1e-7 rad.
  EXPECT_LT(worst, 1.5e-6);
}

TEST(PanTiltSolver, NothingSolvesAtAnAzimuthOf45Degrees) {
  std::mt19937_64 random(77);
  for (int trial = 0; trial < 200; ++trial) {
    const double elevation = uniform(&random, -30, 85) * kRadians;
    const Posed pose = posed({45 * kRadians, 0, 1, 0.05}, elevation, kAxis, 5, &random);
    const Outcome outcome = solve(pose.head, pose.world, kAxis);
    EXPECT_FALSE(outcome.solved);
    EXPECT_EQ(outcome.pan, kUntouched);
  }
}

}  // namespace
}  // namespace norv::calibration
