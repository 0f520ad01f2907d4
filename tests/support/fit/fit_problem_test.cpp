#include "support/fit/fit_problem.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "testing/numeric_derivative.h"
#include "tests/support/fit/known_camera.h"

namespace norv::internal::fit {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

const LensFamily& kFamily = kLensFamilies[0];

/// A view with errors, and a problem with all three kinds of rows in force.
struct SomeProblem {
  SomeProblem() : known(distortedCamera()) {
    for (PointPair& point : known.view.points) point.u += 0.001 * std::sin(100 * point.v);
    camera = known.truth;
    camera.intrinsics[kK1] = -0.45;  // folds
    camera.intrinsics.segment<3>(kK1 + 3).setZero();
    problem.regularity.emplace(camera, kFamily, known.view.half_size);
  }

  KnownView known;
  FittedCamera camera;
  FitProblem problem{&known.view, Priors(kFamily, 1.4, known.view.half_size), 0.7, std::nullopt};
};

TEST(FitProblem, ImageErrorIsInPixels) {
  KnownView known((distortedCamera()));
  EXPECT_LT(squaredImageError(known.view, known.truth), 1e-20);
  known.view.points[3].u += 3.0 / 640;
  known.view.points[7].v -= 4.0 / 640;
  EXPECT_NEAR(squaredImageError(known.view, known.truth), 25, 1e-10);
}

TEST(FitProblem, CostIsTheSumOfItsParts) {
  const SomeProblem some;
  const double image = squaredImageError(some.known.view, some.camera);
  const double priors = some.problem.priors.cost(some.camera);
  const double regularity = some.problem.regularity->cost(some.camera);
  EXPECT_GT(regularity, 0);
  EXPECT_DOUBLE_EQ(some.problem.cost(some.camera), image + 0.49 * priors + regularity);
  FitProblem without = some.problem;
  without.regularity.reset();
  EXPECT_DOUBLE_EQ(without.cost(some.camera), image + 0.49 * priors);
}

TEST(FitProblem, CostIsInfiniteForImpossibleCameras) {
  const SomeProblem some;
  FittedCamera camera = some.camera;
  camera.translation.z() = -camera.translation.z();
  EXPECT_EQ(some.problem.cost(camera), kInfinity);
  EXPECT_EQ(squaredImageError(some.known.view, camera), kInfinity);
  camera = some.camera;
  camera.intrinsics[kFy] = 0.01;
  EXPECT_EQ(some.problem.cost(camera), kInfinity);
  camera = some.camera;
  camera.intrinsics[kCx] = std::nan("");
  EXPECT_EQ(some.problem.cost(camera), kInfinity);
}

TEST(FitProblem, GradientIsThatOfTheCost) {
  SomeProblem some;
  // Points go two by two: with an even number of them and with an odd one.
  for (int i = 0; i < 2; ++i) {
    const ParameterVector gradient = some.problem.linearize(some.camera).gradient;
    for (int j = 0; j < kParameterCount; ++j) {
      const double slope = testing::numericDerivative(
          [&](double h) {
            return some.problem.cost(some.camera.moved(h * ParameterVector::Unit(j)));
          },
          0.0);
      EXPECT_NEAR(gradient[j], slope / 2, 1e-8 * gradient.norm()) << j;  // measured 9e-10
    }
    some.known.view.points.pop_back();
  }
}

TEST(FitProblem, MatrixPredictsTheGradientNearAPerfectFit) {
  const KnownView known((distortedCamera()));
  const FitProblem problem{&known.view, Priors(kFamily, 1.4, known.view.half_size), 0,
                           std::nullopt};
  const ParameterMatrix matrix =
      problem.linearize(known.truth).matrix.selfadjointView<Eigen::Lower>();
  for (int i = 0; i < kParameterCount; ++i) {
    const double h = 1e-6;
    const ParameterVector above =
        problem.linearize(known.truth.moved(h * ParameterVector::Unit(i))).gradient;
    const ParameterVector below =
        problem.linearize(known.truth.moved(-h * ParameterVector::Unit(i))).gradient;
    EXPECT_LT(((above - below) / (2 * h) - matrix.col(i)).norm(), 1e-8 * matrix.col(i).norm())
        << i;  // measured 3e-10
  }
}

}  // namespace
}  // namespace norv::internal::fit
