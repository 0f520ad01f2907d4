#include "support/lens/lens_domain.h"

#include <gtest/gtest.h>

#include <Eigen/Eigenvalues>
#include <cmath>
#include <limits>
#include <random>

#include "support/auto_diff.h"
#include "support/lens/lens_inverse.h"
#include "testing/lenses.h"

namespace norv::internal {
namespace {

using calibration::LensDistortion;
using Dual = autodiff::AutoDiff1<double, 2>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// The smaller eigenvalue of the lens' Jacobian, which is symmetric.
double leastEigenvalue(const LensDistortion<double>& lens, double r, double angle) {
  const auto seen = lens.distort(calibration::NormalizedPoint<Dual>{
      Dual::variable(r * std::cos(angle), 0), Dual::variable(r * std::sin(angle), 1)});
  Eigen::Matrix2d jacobian;
  jacobian << seen.x.derivatives[0], seen.x.derivatives[1], seen.y.derivatives[0],
      seen.y.derivatives[1];
  return Eigen::SelfAdjointEigenSolver<Eigen::Matrix2d>(jacobian).eigenvalues()[0];
}

TEST(LensDomain, ByHand) {
  const LensDomain folding({-0.5});
  EXPECT_DOUBLE_EQ(folding.end, 2.0 / 3);
  EXPECT_EQ(folding.certain, folding.end);
  const LensDomain none(LensDistortion<double>{});
  EXPECT_EQ(none.certain, kInfinity);
  EXPECT_EQ(none.end, kInfinity);
  // 1 - 6 |p1| r along one axis; the radial map never ends.
  const LensDomain tangential({0, 0, 0.01, 0, 0, 0, 0, 0});
  EXPECT_NEAR(tangential.certain, 1 / 0.0036, 1e-10);
  EXPECT_EQ(tangential.end, kInfinity);
  // 1 - 1.5 s = 0.3 r.
  const double r = (std::sqrt(0.09 + 6) - 0.3) / 3;
  EXPECT_NEAR(LensDomain({-0.5, 0, 0.03, -0.04, 0, 0, 0, 0}).certain, r * r, 1e-13);
}

TEST(LensDomain, TheEigenvalueAcrossCountsToo) {
  // 1 + 0.1 s = 0.72 r, before the slope along the radius, 1 + 0.3 s, would meet 0.72 r: it never
  // does.
  const LensDistortion<double> rising{0.1, 0, 0.12, 0, 0, 0, 0, 0};
  const double r = (0.72 - std::sqrt(0.72 * 0.72 - 0.4)) / 0.2;
  EXPECT_NEAR(LensDomain(rising).certain, r * r, 1e-12);
}

TEST(LensDomain, NotANumber) {
  const double nan = std::nan("");
  EXPECT_TRUE(std::isnan(LensDomain({nan}).certain));
  EXPECT_TRUE(std::isnan(LensDomain({0, 0, 0, 1e39, 0, 0, 0, 0}).end));
}

TEST(LensDomain, TheJacobianIsPositiveDefiniteInTheDisc) {
  std::mt19937_64 random(1104);
  std::uniform_real_distribution<double> coefficient(-1, 1);
  std::uniform_real_distribution<double> any_angle(0, 6.3);
  int ending = 0;
  for (int trial = 0; trial < 2000; ++trial) {
    LensDistortion<double> lens;
    for (double* k : {&lens.k1, &lens.k2, &lens.k3, &lens.k4, &lens.k5, &lens.k6}) {
      *k = coefficient(random);
    }
    lens.p1 = 0.05 * coefficient(random);
    lens.p2 = 0.05 * coefficient(random);
    const LensDomain domain(lens);
    EXPECT_LE(domain.certain, domain.end);
    ending += std::isfinite(domain.certain) ? 1 : 0;
    const double radius = std::min(std::sqrt(domain.certain), 10.0);
    LensInverse inverse(lens);
    for (int i = 1; i < 60; ++i) {
      const double r = radius * i / 60;
      const double angle = any_angle(random);
      ASSERT_GT(leastEigenvalue(lens, r, angle), 0) << trial << " at " << r;
      ASSERT_TRUE(inverse.isOnFirstBranch({r * std::cos(angle), r * std::sin(angle)}));
    }
  }
  EXPECT_GT(ending, 1500);
}

TEST(LensDomain, TheDiscIsTheLargestThatTheTangentialBoundAllows) {
  // Where the ray points against (p2, p1) the bound is the eigenvalue itself, along the radius; so
  // the disc ends at the first fold in that direction unless N / D meets the bound first.
  for (const double size : {0.001, 0.01, 0.05}) {
    const LensDistortion<double> lens{-0.3, 0.02, 0.6 * size, 0.8 * size, 0, 0, 0, 0};
    const double certain = std::sqrt(LensDomain(lens).certain);
    const double against = std::atan2(-0.6, -0.8);
    EXPECT_GT(leastEigenvalue(lens, certain * (1 - 1e-9), against), 0) << size;
    EXPECT_LT(leastEigenvalue(lens, certain * (1 + 1e-9), against), 0) << size;
  }
}

}  // namespace
}  // namespace norv::internal
