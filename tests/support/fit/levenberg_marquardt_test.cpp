#include "support/fit/levenberg_marquardt.h"

#include <gtest/gtest.h>

#include <Eigen/LU>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "tests/support/fit/known_camera.h"

namespace norv::internal::fit {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr SolverOptions kOptions = {100, 1e-12, 1e-3};

/// Image error alone, but for priors that a tiny noise leaves without effect.
FitProblem exactProblem(const KnownView& known) {
  return {&known.view, Priors(kLensFamilies[0], 1.4, known.view.half_size), 1e-9, std::nullopt};
}

/// The true camera, each of the given unknowns somewhat off.
FittedCamera disturbed(const KnownView& known, std::initializer_list<int> unknowns) {
  ParameterVector step = ParameterVector::Zero();
  for (const int i : unknowns) step[i] = i % 2 == 0 ? 0.02 : -0.03;
  return known.truth.moved(step);
}

TEST(LevenbergMarquardt, CountsOfFreeParameters) {
  EXPECT_EQ(countOf(FreeParameters::kPose), 7);
  EXPECT_EQ(countOf(FreeParameters::kMildLens), 11);
  EXPECT_EQ(countOf(FreeParameters::kAll), 18);
}

TEST(LevenbergMarquardt, FindsFocalLengthAndPose) {
  const KnownView known((distortedCamera()));
  FittedCamera camera = disturbed(known, {kRotation, kRotation + 1, kRotation + 2, kTranslation,
                                          kTranslation + 1, kTranslation + 2});
  camera.intrinsics.head<2>() *= 1.1;
  const double cost = minimize(exactProblem(known), FreeParameters::kPose, kOptions, &camera);
  EXPECT_LT(cost, 1e-12);  // measured 7e-17
  EXPECT_LT((camera.intrinsics - known.truth.intrinsics).norm(), 1e-8);
  EXPECT_LT((camera.rotation - known.truth.rotation).norm(), 1e-8);
  EXPECT_LT((camera.translation - known.truth.translation).norm(), 1e-8);
}

TEST(LevenbergMarquardt, FindsTheMildLens) {
  const KnownView known((distortedCamera()));
  FittedCamera camera = disturbed(known, {kCx, kCy, kK1, kK1 + 1, kRotation, kTranslation});
  minimize(exactProblem(known), FreeParameters::kMildLens, kOptions, &camera);
  EXPECT_LT((camera.intrinsics - known.truth.intrinsics).norm(), 1e-8);  // measured 6e-11
}

TEST(LevenbergMarquardt, FindsAll) {
  const KnownView known((distortedCamera()));
  FittedCamera camera = disturbed(known, {kFx, kFy, kCx, kCy, kK1, kK1 + 3, kP1, kRotation});
  const double cost =
      minimize(exactProblem(known), FreeParameters::kAll, {300, 1e-14, 1e-3}, &camera);
  EXPECT_LT(cost, 1e-12);                                                          // measured 8e-17
  EXPECT_LT((camera.intrinsics - known.truth.intrinsics).head<4>().norm(), 1e-6);  // measured 3e-10
}

TEST(LevenbergMarquardt, OtherParametersKeepTheirValues) {
  const KnownView known((distortedCamera()));
  const FittedCamera start = disturbed(known, {kFx, kFy, kCx, kK1, kK1 + 2, kP1, kTranslation});
  FittedCamera camera = start;
  minimize(exactProblem(known), FreeParameters::kPose, kOptions, &camera);
  EXPECT_EQ(camera.intrinsics.tail<10>(), start.intrinsics.tail<10>());
  EXPECT_NE(camera.intrinsics[kFx], start.intrinsics[kFx]);
  EXPECT_NEAR(camera.intrinsics[kFy] / camera.intrinsics[kFx],
              start.intrinsics[kFy] / start.intrinsics[kFx], 1e-15);
  camera = start;
  minimize(exactProblem(known), FreeParameters::kMildLens, kOptions, &camera);
  EXPECT_EQ(camera.intrinsics.tail<6>(), start.intrinsics.tail<6>());
  EXPECT_NE(camera.intrinsics[kCx], start.intrinsics[kCx]);
  EXPECT_NE(camera.intrinsics[kK1 + 1], start.intrinsics[kK1 + 1]);
  EXPECT_NEAR(camera.intrinsics[kFy] / camera.intrinsics[kFx],
              start.intrinsics[kFy] / start.intrinsics[kFx], 1e-15);
}

TEST(LevenbergMarquardt, EndsWhereTheGradientVanishes) {
  KnownView known((distortedCamera()));
  std::mt19937_64 random(6);
  std::normal_distribution<double> noise(0, 0.3 / 640);
  for (PointPair& point : known.view.points) {
    point.u += noise(random);
    point.v += noise(random);
  }
  FitProblem problem = exactProblem(known);
  problem.sigma = 0.3;
  FittedCamera camera = known.truth;
  const double before = problem.linearize(camera).gradient.norm();
  const double cost = minimize(problem, FreeParameters::kAll, kOptions, &camera);
  EXPECT_EQ(cost, problem.cost(camera));
  EXPECT_LT(problem.linearize(camera).gradient.norm(), 1e-5 * before);  // measured 1.1e-7
}

TEST(LevenbergMarquardt, CostNeverRisesFromAnyStart) {
  const KnownView known((distortedCamera()));
  const FitProblem problem = exactProblem(known);
  std::mt19937_64 random(7);
  std::normal_distribution<double> normal(0, 1);
  int finite = 0;
  for (int i = 0; i < 300; ++i) {
    ParameterVector step;
    for (double& element : step) element = std::pow(10, -2 + 2 * i / 300.0) * normal(random);
    FittedCamera camera = known.truth.moved(step);
    const double before = problem.cost(camera);
    const double after = minimize(problem, FreeParameters::kAll, {20, 1e-9, 1e-3}, &camera);
    EXPECT_LE(after, before);
    if (std::isfinite(before)) {
      ++finite;
      EXPECT_EQ(problem.cost(camera), after);
    }
  }
  EXPECT_GT(finite, 100);
}

TEST(LevenbergMarquardt, StepsAreCounted) {
  const KnownView known((distortedCamera()));
  const FitProblem problem = exactProblem(known);
  const FittedCamera start = disturbed(known, {kFx, kCx, kCy, kK1, kRotation});
  double last = problem.cost(start);
  for (const int steps : {0, 1, 2, 3}) {
    FittedCamera camera = start;
    const double cost = minimize(problem, FreeParameters::kAll, {steps, 0, 1e-3}, &camera);
    if (steps == 0) {
      EXPECT_EQ(cost, last);
    } else {
      EXPECT_LT(cost, last);
    }
    last = cost;
  }
}

TEST(LevenbergMarquardt, InfiniteCostIsLeftAlone) {
  const KnownView known((distortedCamera()));
  FittedCamera camera = known.truth;
  camera.translation.z() = -5;
  const FittedCamera before = camera;
  EXPECT_EQ(minimize(exactProblem(known), FreeParameters::kAll, kOptions, &camera), kInfinity);
  EXPECT_EQ(camera.intrinsics, before.intrinsics);
  EXPECT_EQ(camera.rotation, before.rotation);
  EXPECT_EQ(camera.translation, before.translation);
}

TEST(LevenbergMarquardt, DeviationOfTheFocalLengthIsThatOfTheInverseMatrix) {
  const KnownView known((distortedCamera()));
  FitProblem problem = exactProblem(known);
  problem.sigma = 0.5;
  problem.priors.dropFocalLength();
  const ParameterMatrix matrix =
      problem.linearize(known.truth).matrix.selfadjointView<Eigen::Lower>();
  ParameterVector slopes = ParameterVector::Zero();
  slopes[kFx] = 0.5 / known.truth.intrinsics[kFx];
  slopes[kFy] = 0.5 / known.truth.intrinsics[kFy];
  const double expected = 0.5 * std::sqrt(slopes.dot(matrix.fullPivLu().solve(slopes)));
  EXPECT_NEAR(logFocalLengthDeviation(problem, FreeParameters::kAll, known.truth) / expected, 1,
              1e-6);  // measured 9e-9
}

TEST(LevenbergMarquardt, DeviationWithATiedFocalLength) {
  const KnownView known((distortedCamera()));
  FitProblem problem = exactProblem(known);
  problem.sigma = 0.5;
  // Seven unknowns: ln f and the pose.
  Eigen::Matrix<double, kParameterCount, 7> basis =
      Eigen::Matrix<double, kParameterCount, 7>::Zero();
  basis(kFx, 0) = known.truth.intrinsics[kFx];
  basis(kFy, 0) = known.truth.intrinsics[kFy];
  basis.bottomRightCorner<6, 6>().setIdentity();
  const ParameterMatrix matrix =
      problem.linearize(known.truth).matrix.selfadjointView<Eigen::Lower>();
  const Eigen::Matrix<double, 7, 7> reduced = basis.transpose() * matrix * basis;
  const double expected = 0.5 * std::sqrt(reduced.inverse()(0, 0));
  EXPECT_NEAR(logFocalLengthDeviation(problem, FreeParameters::kPose, known.truth) / expected, 1,
              1e-9);  // measured 1.2e-11
}

}  // namespace
}  // namespace norv::internal::fit
