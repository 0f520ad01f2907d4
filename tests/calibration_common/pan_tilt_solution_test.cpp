// The inverse of a pan-tilt head as a value, PanTiltModel::solve, and that computePanTilt is the
// same with its reasons logged.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "calibration_common/pan_tilt_model.h"
#include "testing/allocation_count.h"
#include "testing/example_ptz.h"
#include "testing/log_capture.h"
#include "testing/random_head.h"
#include "testing/same_bits.h"
#include "testing/solver_outcome.h"

namespace norv::calibration {
namespace {

using testing::allocationCount;
using testing::bitsOf;
using testing::exampleHead;
using testing::headModel;
using testing::headWithGap;
using testing::headWithoutLeverArms;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;
using testing::kAxis;
using testing::kNothingWritten;
using testing::kRadians;
using testing::LogLine;
using testing::ScopedLogCapture;
using testing::solverError;
using testing::SolverOutcome;
using testing::solverWarning;
using testing::streamed;
using testing::uniform;

/// A point straight above, on the pan axis: the optical axis passes it at the head's gap.
const Vector3_f kAbove(0, 0, 2);

/// What is asked of a head.
struct Question {
  PanTiltSystemParameters head;
  Vector3_f world;
  Vector2_f dev;
};

/// Heads that the inverse serves and heads that it does not, targets near and far.
Question randomQuestion(std::mt19937_64* random) {
  Question question;
  question.head = uniform(random, 0, 1) < 0.5
                      ? testing::randomHead(random)
                      : testing::makeHead(testing::randomServedBuild(random), random);
  const double reach = uniform(random, 0, 1) < 0.2 ? 0.2 : 5;
  for (float& x : question.world) x = static_cast<float>(uniform(random, -reach, reach));
  for (float& x : question.dev) x = static_cast<float>(uniform(random, -0.5, 0.5));
  if (uniform(random, 0, 1) < 0.3) question.dev.setZero();
  return question;
}

PanTiltSolution solve(const Question& question) {
  return headModel(question.head).solve(question.world, question.dev);
}

/// The one warning or error that computePanTilt logs with a verdict; none for a good one.
std::vector<LogLine> verdictLines(const PanTiltSolution& solution, const Question& question) {
  const std::string where =
      " for pan tilt: world=" + streamed(question.world) + " dev=" + streamed(question.dev);
  const std::string error = " error=" + streamed(solution.error);
  switch (solution.verdict) {
    case PanTiltVerdict::kSolved:
      return {};
    case PanTiltVerdict::kNoCandidate:
      return {solverError("Could not find solutions" + where)};
    case PanTiltVerdict::kHighResidual:
      return {solverWarning("High residual error" + where + error)};
    case PanTiltVerdict::kLargeResidual:
      return {solverError("Large residual error" + where + error)};
  }
  return {solverError("no such verdict")};
}

TEST(PanTiltSolution, IsWhatComputePanTiltWritesReturnsAndLogs) {
  std::mt19937_64 random(90);
  std::array<int, 4> reached = {};
  for (int trial = 0; trial < 4000; ++trial) {
    SCOPED_TRACE(trial);
    const Question question = randomQuestion(&random);
    const PanTiltSolution solution = solve(question);
    const SolverOutcome outcome = testing::solve(question.head, question.world, question.dev);
    ++reached[static_cast<std::size_t>(solution.verdict)];
    ASSERT_EQ(solution.solved(), outcome.solved);
    ASSERT_EQ(outcome.linesUpTo(kLogWarning), verdictLines(solution, question));
    if (solution.verdict == PanTiltVerdict::kNoCandidate) {
      ASSERT_EQ(outcome.pan, kNothingWritten);
      ASSERT_EQ(outcome.tilt, kNothingWritten);
      continue;
    }
    ASSERT_EQ(bitsOf(solution.pan), bitsOf(outcome.pan));
    ASSERT_EQ(bitsOf(solution.tilt), bitsOf(outcome.tilt));
    ASSERT_THAT(outcome.infoTexts(),
                IsSupersetOf({"Pan/tilt estimates:" + streamed(solution.start_pan) + " " +
                                  streamed(solution.start_tilt),
                              "last_error=" + streamed(solution.error)}));
  }
  EXPECT_THAT(reached, ::testing::Each(::testing::Gt(20)));
}

TEST(PanTiltSolution, ByHand) {
  // (3, -4, 12) has the azimuth -atan(4 / 3) and the elevation atan(12 / 5); positive pan turns to
  // the right. Without lever arms the closed form is exact.
  const PanTiltSolution solution = solve({headWithoutLeverArms(), {3, -4, 12}, kAxis});
  EXPECT_EQ(solution.verdict, PanTiltVerdict::kSolved);
  const auto scale = static_cast<double>(0.0005F);
  // Measured: 5e-5 steps.
  EXPECT_NEAR(static_cast<double>(solution.pan), std::atan2(4, 3) / scale, 5e-4);
  EXPECT_NEAR(static_cast<double>(solution.tilt), std::atan2(12, 5) / scale, 5e-4);
  // Measured: 6e-8 rad.
  EXPECT_NEAR(static_cast<double>(solution.start_pan), std::atan2(4, 3), 3e-7);
  EXPECT_NEAR(static_cast<double>(solution.start_tilt), std::atan2(12, 5), 3e-7);
  EXPECT_LT(solution.error, 1e-12);
}

TEST(PanTiltSolution, TheErrorIsTheSquaredDistanceAtWhichTheAxisPasses) {
  // 9.61e-6, 1.156e-5 and 0.04: to either side of both limits.
  const struct {
    double gap;
    PanTiltVerdict verdict;
  } cases[] = {{0.0031, PanTiltVerdict::kSolved},
               {0.0034, PanTiltVerdict::kHighResidual},
               {0.0999, PanTiltVerdict::kHighResidual},
               {0.1001, PanTiltVerdict::kLargeResidual},
               {0.2, PanTiltVerdict::kLargeResidual}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.gap);
    const PanTiltSolution solution = solve({headWithGap(c.gap), kAbove, kAxis});
    EXPECT_EQ(solution.verdict, c.verdict);
    // The gap is a rounded float: 6e-8 of it. Measured: 1.4e-7 of the square.
    EXPECT_NEAR(solution.error, c.gap * c.gap, 3e-7 * c.gap * c.gap);
    EXPECT_NEAR(static_cast<double>(solution.tilt), 90 * kRadians / 0.0005, 1e-3);
  }
}

void expectNoCandidate(const Question& question) {
  const PanTiltSolution solution = solve(question);
  EXPECT_EQ(solution.verdict, PanTiltVerdict::kNoCandidate);
  EXPECT_FALSE(solution.solved());
  EXPECT_TRUE(std::isnan(solution.pan));
  EXPECT_TRUE(std::isnan(solution.tilt));
  EXPECT_TRUE(std::isnan(solution.start_pan));
  EXPECT_TRUE(std::isnan(solution.start_tilt));
  EXPECT_TRUE(std::isnan(solution.error));
}

TEST(PanTiltSolution, WithoutACandidateItsNumbersAreNaN) {
  // A ray far beside the axis never points straight up.
  expectNoCandidate({headWithoutLeverArms(), {0, 0, 3}, {0.5F, 0}});
}

TEST(PanTiltSolution, InputThatIsNotFiniteHasNoCandidate) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  for (const float bad : {std::nanf(""), kInfinity, -kInfinity}) {
    for (int i = 0; i < 5; ++i) {
      Question question = {exampleHead(), {3, -4, 12}, kAxis};
      (i < 3 ? question.world[i] : question.dev[i - 3]) = bad;
      expectNoCandidate(question);
    }
  }
}

TEST(PanTiltSolution, OfAHeadWhosePosesAreNotFiniteThereIsNone) {
  constexpr double kBad[] = {std::numeric_limits<double>::quiet_NaN(),
                             std::numeric_limits<double>::infinity()};
  for (const double bad : kBad) {
    for (int i = 0; i < 36; ++i) {
      PanTiltSystemParameters head = exampleHead();
      CameraExtrinsics* poses[] = {head.mutable_base_to_pan(), head.mutable_pan_to_tilt(),
                                   head.mutable_tilt_to_camera()};
      poses[i / 12]->set_a(i % 12, bad);
      const PanTiltSolution solution = headModel(head).solve({4, 1, 2}, kAxis);
      EXPECT_FALSE(solution.solved()) << bad << " in value " << i;
    }
  }
}

TEST(PanTiltSolution, OfAModelThatIsNotLoadedDividesByItsScalesOfZero) {
  // All its poses are zero. Directions of length zero leave every angle free, for which 0 stands,
  // and the residual is zero.
  const PanTiltSolution solution = PanTiltModel().solve({1, 2, 3}, kAxis);
  EXPECT_TRUE(solution.solved());
  EXPECT_EQ(solution.error, 0);
  EXPECT_EQ(solution.start_pan, 0);
  EXPECT_TRUE(std::isnan(solution.pan));
  EXPECT_TRUE(std::isnan(solution.tilt));
}

TEST(PanTiltSolution, LogsNothing) {
  std::mt19937_64 random(91);
  ScopedLogCapture capture;
  for (int trial = 0; trial < 500; ++trial) solve(randomQuestion(&random));
  EXPECT_THAT(capture.take(), IsEmpty());
}

TEST(PanTiltSolution, AllocatesNothing) {
  std::mt19937_64 random(92);
  for (int trial = 0; trial < 500; ++trial) {
    const Question question = randomQuestion(&random);
    const PanTiltModel model = headModel(question.head);
    const int before = allocationCount();
    const PanTiltSolution solution = model.solve(question.world, question.dev);
    ASSERT_EQ(allocationCount(), before) << static_cast<int>(solution.verdict);
  }
}

/// The answers to `count` random targets of one model.
std::vector<PanTiltSolution> solveMany(const PanTiltModel& model, unsigned seed, int count) {
  std::mt19937_64 random(seed);
  std::vector<PanTiltSolution> solutions;
  for (int i = 0; i < count; ++i) {
    const Question question = randomQuestion(&random);
    solutions.push_back(model.solve(question.world, question.dev));
  }
  return solutions;
}

TEST(PanTiltSolution, ThreadsShareAModel) {
  constexpr std::size_t kThreads = 4;
  const PanTiltModel model = headModel(exampleHead());
  const std::vector<PanTiltSolution> expected = solveMany(model, 93, 300);
  std::array<std::vector<PanTiltSolution>, kThreads> answers;
  std::vector<std::thread> threads;
  for (auto& answer : answers) {
    threads.emplace_back([&] { answer = solveMany(model, 93, 300); });
  }
  for (std::thread& thread : threads) thread.join();
  for (const auto& answer : answers) {
    ASSERT_EQ(answer.size(), expected.size());
    for (std::size_t i = 0; i < answer.size(); ++i) {
      ASSERT_EQ(answer[i].verdict, expected[i].verdict);
      ASSERT_EQ(bitsOf(answer[i].pan), bitsOf(expected[i].pan));
      ASSERT_EQ(bitsOf(answer[i].tilt), bitsOf(expected[i].tilt));
    }
  }
}

}  // namespace
}  // namespace norv::calibration
