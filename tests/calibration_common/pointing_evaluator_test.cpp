// The evaluator without dual numbers against the residual with them.

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <random>

#include "calibration_common/pointing_residual.h"

namespace norv::internal {
namespace {

template <class Matrix>
void fillAtRandom(std::mt19937* random, Matrix* m) {
  std::uniform_real_distribution<float> any(-2, 2);
  for (Eigen::Index i = 0; i < m->size(); ++i) m->data()[i] = any(*random);
}

PointingProblem randomProblem(std::mt19937* random) {
  PointingProblem problem;
  fillAtRandom(random, &problem.tilt_to_camera);
  fillAtRandom(random, &problem.pan_to_tilt);
  fillAtRandom(random, &problem.base_to_pan);
  fillAtRandom(random, &problem.world);
  fillAtRandom(random, &problem.dev);
  fillAtRandom(random, &problem.point_in_pan);
  return problem;
}

void expectSame(const PointingProblem& problem, double pan, double tilt) {
  const PointingState state = PointingEvaluator(problem).evaluate(pan, tilt);
  const std::array<PanTiltDual, 3> dual =
      pointingResidual(problem, PanTiltDual(pan, {1, 0}), PanTiltDual(tilt, {0, 1}));
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(state.residual[i], dual[i].value);
    EXPECT_EQ(state.by_pan[i], dual[i].derivatives[0]);
    EXPECT_EQ(state.by_tilt[i], dual[i].derivatives[1]);
  }
}

TEST(PointingEvaluator, HasTheBitsOfTheDualNumbers) {
  std::mt19937 random(1);
  std::uniform_real_distribution<double> angle(-7, 7);
  for (int i = 0; i < 2000; ++i) {
    const PointingProblem problem = randomProblem(&random);
    const double pan = angle(random);
    expectSame(problem, pan, angle(random));
  }
}

TEST(PointingEvaluator, AtZeroAngles) {
  std::mt19937 random(2);
  for (int i = 0; i < 100; ++i) expectSame(randomProblem(&random), 0, 0);
}

TEST(PointingEvaluator, SparseProblems) {
  // As heads are: most elements zero, and the last rows 0 0 0 1.
  std::mt19937 random(3);
  std::uniform_real_distribution<double> angle(-4, 4);
  std::bernoulli_distribution zero(0.6);
  for (int i = 0; i < 500; ++i) {
    PointingProblem problem = randomProblem(&random);
    for (Matrix4x4_f* m : {&problem.tilt_to_camera, &problem.pan_to_tilt}) {
      for (Eigen::Index j = 0; j < 12; ++j) {
        if (zero(random)) m->data()[j] = 0;
      }
      m->row(3) << 0, 0, 0, 1;
    }
    problem.point_in_pan(3) = 1;
    if (zero(random)) problem.dev.setZero();
    const double pan = angle(random);
    expectSame(problem, pan, angle(random));
  }
}

}  // namespace
}  // namespace norv::internal
