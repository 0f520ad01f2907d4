#include "interop/fit/lens_problem.h"

#include <gtest/gtest.h>

#include <cmath>
#include <utility>
#include <vector>

#include "interop/fit/linear_start.h"

namespace norv::interop {
namespace {

using calibration::LensDistortion;

constexpr std::size_t kCount = 8;
const LensDistortion<double> kLens{0.4, -0.05, 0.002, -0.003, 0.01, 0.7, 0.1, 0.02};
const std::vector<std::size_t> kAll = {0, 1, 2, 3, 4, 5, 6, 7};

/// Rays through a rectangle, imaged by the lens.
LensProblem problemOf(const LensDistortion<double>& lens, std::vector<std::size_t> free) {
  std::vector<RaySample> samples;
  for (int i = -6; i <= 6; ++i) {
    for (int j = -4; j <= 4; ++j) {
      const calibration::NormalizedPoint<double> ray{0.2 * i, 0.2 * j};
      samples.push_back({ray, lens.distort(ray)});
    }
  }
  Eigen::Matrix2d to_pixels;
  to_pixels << 500, 3, 0, 510;
  return makeProblem(std::move(samples), to_pixels, std::move(free));
}

TEST(LensProblem, TakesItsFarthestRayForUnit) {
  const LensProblem problem = problemOf(kLens, kAll);
  EXPECT_NEAR(problem.unit, std::hypot(1.2, 0.8), 1e-12);
  // The lens that made the samples misses none, in whatever unit.
  const LensCoefficients c = inProblemUnits(problem, kLens);
  for (const RaySample& sample : problem.samples) {
    EXPECT_LT(missOf(problem, lensOf(c), sample).norm(), 1e-11);
  }
  const auto back = inPlaneUnits(problem, c).toCoefficients();
  for (std::size_t i = 0; i < kCount; ++i) EXPECT_NEAR(back[i], kLens.toCoefficients()[i], 1e-15);
}

TEST(LensProblem, LeavesWhatIsNotFreeAtZero) {
  const LensCoefficients c = inProblemUnits(problemOf(kLens, {0, 5}), kLens);
  EXPECT_NE(c[0], 0);
  EXPECT_EQ(c[1], 0);
  EXPECT_EQ(c[2], 0);
  EXPECT_NE(c[5], 0);
  EXPECT_EQ(c[7], 0);
}

TEST(LensProblem, KnowsTheDerivativeOfAMiss) {
  constexpr double kStep = 1e-6;
  const LensProblem problem = problemOf({}, kAll);
  const LensCoefficients c = inProblemUnits(problem, kLens);
  for (const RaySample& sample : problem.samples) {
    const MissJacobian jacobian = missJacobian(problem, lensOf(c), sample);
    for (Eigen::Index i = 0; i < jacobian.cols(); ++i) {
      const LensCoefficients step = kStep * LensCoefficients::Unit(i);
      const Eigen::Vector2d slope =
          (missOf(problem, lensOf(c + step), sample) - missOf(problem, lensOf(c - step), sample)) /
          (2 * kStep);
      // Differences lose half of the digits.
      EXPECT_LT((jacobian.col(i) - slope).norm(), 1e-6 * (1 + slope.norm())) << i;
    }
  }
}

TEST(LinearStart, FindsTheLensThatMadeTheSamples) {
  // Without tangential terms all of it is linear.
  LensDistortion<double> lens = kLens;
  lens.p1 = 0;
  lens.p2 = 0;
  const LensProblem problem = problemOf(lens, kAll);
  const auto found = inPlaneUnits(problem, linearStart(problem, 0)).toCoefficients();
  for (std::size_t i = 0; i < kCount; ++i) EXPECT_NEAR(found[i], lens.toCoefficients()[i], 1e-8);
}

TEST(LinearStart, StaysSmallerWithCaution) {
  // A polynomial lens, which a factor that numerator and denominator share leaves as it is; and a
  // little that no lens can follow.
  LensProblem problem = problemOf({-0.2, 0.03, 0, 0, 0, 0, 0, 0}, kAll);
  for (std::size_t i = 0; i < problem.samples.size(); i += 2) problem.samples[i].imaged.x += 1e-4;
  EXPECT_LT(linearStart(problem, 0.1).norm(), linearStart(problem, 0).norm());
}

}  // namespace
}  // namespace norv::interop
