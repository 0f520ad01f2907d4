#include "support/lens/lens_inverse.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "support/auto_diff.h"
#include "testing/lenses.h"
#include "testing/same_bits.h"

namespace norv::calibration {
namespace {

using Dual = autodiff::AutoDiff1<double, 2>;
using Point = NormalizedPoint<double>;
using testing::bitsOf;
using testing::bruteForceBranchEnd;
using testing::kLenses;
using testing::NamedLens;

double length(const Point& p) { return std::hypot(p.x, p.y); }
double distance(const Point& a, const Point& b) { return std::hypot(a.x - b.x, a.y - b.y); }
Point polar(double r, double angle) { return {r * std::cos(angle), r * std::sin(angle)}; }
bool isNan(const Point& p) { return std::isnan(p.x) && std::isnan(p.y); }

/// Residual of an answer relative to what is promised: at most 1, but for rounding in the test.
double relativeResidual(const LensDistortion<double>& lens, const Point& p, const Point& target) {
  return distance(lens.distort(p), target) / (1e-12 * std::fmax(1, length(target)));
}

/// Whether the denominator is positive and the Jacobian positive definite at `samples` places on
/// the way from the centre to p.
bool regularUpTo(const LensDistortion<double>& lens, const Point& p, int samples) {
  for (int i = 1; i <= samples; ++i) {
    const double t = static_cast<double>(i) / samples;
    const NormalizedPoint<Dual> d =
        lens.distort(NormalizedPoint<Dual>{Dual::variable(t * p.x, 0), Dual::variable(t * p.y, 1)});
    const double determinant =
        d.x.derivatives[0] * d.y.derivatives[1] - d.x.derivatives[1] * d.y.derivatives[0];
    const double s = t * t * (p.x * p.x + p.y * p.y);
    if (!(lens.denominator(s) > 0 && determinant > 0 && d.x.derivatives[0] > 0)) return false;
  }
  return true;
}

TEST(LensNewtonStep, AgainstDualNumbers) {
  // One full step is the solution of J (next - p) = target - distort(p).
  const Point target{0.3, -0.2};
  for (const NamedLens& named : kLenses) {
    const LensDistortion<double> lens = named.lens();
    for (int i = 0; i < 20; ++i) {
      const Point p = polar(0.9 * named.radius * (i + 1) / 20, 1.1 * i);
      const internal::LensNewtonStep at(lens, p, target);
      const NormalizedPoint<Dual> d =
          lens.distort(NormalizedPoint<Dual>{Dual::variable(p.x, 0), Dual::variable(p.y, 1)});
      const Point residual{d.x.value - target.x, d.y.value - target.y};
      EXPECT_NEAR(at.error(), residual.x * residual.x + residual.y * residual.y,
                  1e-13 * at.error() + 1e-18)
          << named;
      ASSERT_TRUE(at.regular()) << named;
      const Point next = at.next(1);
      const Point step{next.x - p.x, next.y - p.y};
      // Measured: 8e-15.
      EXPECT_NEAR(d.x.derivatives[0] * step.x + d.x.derivatives[1] * step.y, -residual.x, 1e-11)
          << named;
      EXPECT_NEAR(d.y.derivatives[0] * step.x + d.y.derivatives[1] * step.y, -residual.y, 1e-11)
          << named;
      const Point half = at.next(0.5);
      EXPECT_NEAR(half.x - p.x, 0.5 * step.x, 1e-12 * (1 + std::abs(p.x)));
      EXPECT_NEAR(half.y - p.y, 0.5 * step.y, 1e-12 * (1 + std::abs(p.y)));
    }
  }
}

TEST(LensNewtonStep, RegularOnlyWhereTheJacobianIsPositiveDefinite) {
  const LensDistortion<double> fold{-0.5};
  EXPECT_TRUE(internal::LensNewtonStep<double>(fold, {0.8, 0}, {0, 0}).regular());
  // Beyond the fold at 0.8165 the determinant is negative.
  EXPECT_FALSE(internal::LensNewtonStep<double>(fold, {0.83, 0}, {0, 0}).regular());
  // Beyond r = sqrt(2) the numerator is negative too and the determinant positive again.
  EXPECT_FALSE(internal::LensNewtonStep<double>(fold, {1.5, 0}, {0, 0}).regular());
  EXPECT_FALSE(internal::LensNewtonStep<double>(fold, {0, 1.5}, {0, 0}).regular());
  // Beyond the pole at 1 the Jacobian of 2 r + r / (s - 1) is positive definite from r = 2.06 on.
  const LensDistortion<double> pole{-2, 0, 0, 0, 0, -1, 0, 0};
  EXPECT_FALSE(internal::LensNewtonStep<double>(pole, {3, 0}, {0, 0}).regular());
}

TEST(LensInverse, CentreIsExact) {
  for (const NamedLens& named : kLenses) {
    const Point p = internal::LensInverse(named.lens()).undistort({0, 0});
    EXPECT_EQ(p.x, 0) << named;
    EXPECT_EQ(p.y, 0) << named;
  }
}

TEST(LensInverse, ByHand) {
  // r (1 - s / 2) = 0.4375 at r = 1 / 2; r / (1 - s) = 4 / 3 there.
  const Point barrel = internal::LensInverse({-0.5}).undistort({0, 0.4375});
  EXPECT_EQ(barrel.x, 0);
  EXPECT_NEAR(barrel.y, 0.5, 1e-12);
  const Point pole = internal::LensInverse({0, 0, 0, 0, 0, -1, 0, 0}).undistort({-2.0 / 3, 0});
  EXPECT_NEAR(pole.x, -0.5, 1e-12);
  EXPECT_EQ(pole.y, 0);
}

TEST(LensInverse, GivesUpWhereNumbersOverflow) {
  // The distance of the target from the centre, and three times a coefficient, are beyond double.
  internal::LensInverse mild({-0.05, 0.01, 1e-4, -2e-4, 0, 0, 0, 0});
  EXPECT_TRUE(isNan(mild.undistort({1.2e308, 1.5e308})));
  for (const double coefficient : {1e308, -1e308}) {
    for (int i = 0; i < 8; ++i) {
      LensDistortion<double> lens{-0.05, 0.01, 1e-4, -2e-4, 0, 0, 0, 0};
      double* const all[] = {&lens.k1, &lens.k2, &lens.p1, &lens.p2,
                             &lens.k3, &lens.k4, &lens.k5, &lens.k6};
      *all[i] = coefficient;
      internal::LensInverse inverse(lens);
      for (const double t : {1e-300, 0.1, 1e10, 1e200}) {
        const Point p = inverse.undistort({t, t / 2});
        EXPECT_TRUE(isNan(p) || std::hypot(p.x, p.y) <= 2 * t) << i << ' ' << t;
      }
    }
  }
}

TEST(LensInverse, RoundTripOverAGridOfRays) {
  double worst_residual = 0;
  double worst_error = 0;
  for (const NamedLens& named : kLenses) {
    const LensDistortion<double> lens = named.lens();
    internal::LensInverse inverse(lens);
    for (int i = 1; i <= 100; ++i) {
      for (int j = 0; j < 16; ++j) {
        const Point ray = polar(named.radius * i / 100, 0.1 + j * 0.4);
        const Point target = lens.distort(ray);
        const Point answer = inverse.undistort(target);
        ASSERT_FALSE(isNan(answer)) << named << " at " << named.radius * i / 100;
        worst_residual = std::fmax(worst_residual, relativeResidual(lens, answer, target));
        // The fold, at the end of that lens' grid, turns a residual e into an error of sqrt(e).
        if (i < 100) worst_error = std::fmax(worst_error, distance(answer, ray) / length(ray));
      }
    }
  }
  // Measured: 0.995 and 1.6e-10, the latter next to the fold.
  EXPECT_LT(worst_residual, 1.001);
  EXPECT_LT(worst_error, 1e-9);
}

TEST(LensInverse, OrderOfPointsDoesNotMatter) {
  std::mt19937_64 random(24);
  std::uniform_real_distribution<double> coordinate(-0.8, 0.8);
  std::vector<Point> targets;
  targets.reserve(300);
  for (int i = 0; i < 300; ++i) targets.push_back({coordinate(random), coordinate(random)});
  for (const NamedLens& named : kLenses) {
    internal::LensInverse shared(named.lens());
    for (const Point& target : targets) {
      const Point once = internal::LensInverse(named.lens()).undistort(target);
      const Point again = shared.undistort(target);
      EXPECT_EQ(bitsOf(once.x), bitsOf(again.x)) << named;
      EXPECT_EQ(bitsOf(once.y), bitsOf(again.y)) << named;
    }
  }
}

TEST(LensInverse, CloseToAFold) {
  const LensDistortion<double> lens{-0.5};
  internal::LensInverse inverse(lens);
  const double fold = std::sqrt(2.0 / 3);
  const double reach = fold * 2 / 3;
  for (const double gap : {1e-2, 1e-3, 1e-4, 1e-5, 1e-6}) {
    const double r = fold * (1 - gap);
    const Point answer = inverse.undistort(lens.distort(polar(r, 1)));
    // A residual of 1e-12 where the slope is 2 gap allows this. Measured: 5e-5 of it at most.
    EXPECT_NEAR(length(answer), r, 1e-12 / gap);
    EXPECT_LT(length(answer), fold);
  }
  EXPECT_FALSE(isNan(inverse.undistort({0, reach * (1 - 1e-11)})));
  EXPECT_TRUE(isNan(inverse.undistort({0, reach * (1 + 1e-11)})));
  EXPECT_TRUE(isNan(inverse.undistort({0, reach * 1.01})));
  EXPECT_TRUE(isNan(inverse.undistort({-100, 3})));
}

TEST(LensInverse, CloseToAPole) {
  const LensDistortion<double> lens{0, 0, 0, 0, 0, -1, 0, 0};
  internal::LensInverse inverse(lens);
  for (const double gap : {0.1, 0.01, 1e-3}) {
    for (const Point& ray : {polar(1 - gap, 2), polar(1 - gap, -3)}) {
      const Point answer = inverse.undistort(lens.distort(ray));
      EXPECT_LT(distance(answer, ray), 1e-12);
    }
  }
}

TEST(LensInverse, WithoutAnEndEveryRadiusIsReached) {
  // r + r^3 / 10.
  const LensDistortion<double> lens{0.1};
  internal::LensInverse inverse(lens);
  for (const double r : {1e-30, 1e-9, 1e-3, 1.0, 10.0, 1e3, 1e9, 1e30}) {
    const Point answer = inverse.undistort(lens.distort(Point{0.6 * r, -0.8 * r}));
    EXPECT_NEAR(answer.x / r, 0.6, 1e-12) << r;
    EXPECT_NEAR(answer.y / r, -0.8, 1e-12) << r;
  }
}

TEST(LensInverse, NothingBeyondTheFoldIsAccepted) {
  // The radial map rises to 0.5443 at 0.8165, falls through zero at 1.414, and beyond that
  // images rays on the opposite side.
  const LensDistortion<double> lens{-0.5};
  internal::LensInverse inverse(lens);
  for (int i = 1; i <= 400; ++i) {
    const Point beyond = polar(0.8165 + 0.005 * i, 0.7);
    const Point target = lens.distort(beyond);
    const Point answer = inverse.undistort(target);
    if (length(target) > 0.54434) {
      EXPECT_TRUE(isNan(answer)) << i;
    } else {
      EXPECT_LT(length(answer), 0.81650) << i;
      EXPECT_LT(relativeResidual(lens, answer, target), 1.001) << i;
    }
  }
}

TEST(LensInverse, NothingAcrossATangentialFoldIsAccepted) {
  // On the x axis the map is x + 0.3 x^2: it folds at -5/3, where it reaches -5/6, and comes back.
  const LensDistortion<double> lens{0, 0, 0, 0.1, 0, 0, 0, 0};
  internal::LensInverse inverse(lens);
  const Point inside = inverse.undistort(lens.distort(Point{-1.5, 0}));
  EXPECT_NEAR(inside.x, -1.5, 1e-10);
  EXPECT_TRUE(isNan(inverse.undistort({-0.84, 0})));
  for (const double x : {-1.7, -2.0, -3.0, -3.4, -6.0, -11.0, -20.0}) {
    const Point target = lens.distort(Point{x, 0});
    const Point answer = inverse.undistort(target);
    EXPECT_NEAR(answer.x, -10.0 / 3 - x, 1e-9) << "the other solution of x + 0.3 x^2";
  }
}

TEST(LensInverse, NothingAcrossALobeOnTheAxisIsAccepted) {
  // The slope 1 - 2.7 s + 2.15 s^2 of the radial map has its minimum 0.152 at r = 0.79. To the left
  // the tangential term -3 p2 s takes 0.160 from it, so the map folds there, and only there.
  const LensDistortion<double> lens{-0.9, 0.43, 0, 0.03364, 0, 0, 0, 0};
  internal::LensInverse inverse(lens);
  for (const double x : {-0.6, -0.7, 0.7, 0.8, 0.95, 1.0, 1.5}) {
    EXPECT_NEAR(inverse.undistort(lens.distort(Point{x, 0})).x, x, 1e-8) << x;
  }
  for (const double x : {-0.92, -0.94, -0.95, -0.96, -1.0, -1.5}) {
    EXPECT_TRUE(isNan(inverse.undistort(lens.distort(Point{x, 0})))) << x;
  }
}

TEST(LensInverse, StrongTangentialTermsNeedTheDampedSearch) {
  const LensDistortion<double> lens{0,           -0.24550755, -0.29255372, 0.24342734,
                                    -0.13372958, 0.19582981,  -0.19036797, -0.25945535};
  internal::LensInverse inverse(lens);
  for (const Point& ray : {Point{-0.212165, -1.16462}, Point{0.874906, 0.0403902},
                           Point{-0.0548187, -1.01595}, Point{1.16407, 0.365709}}) {
    ASSERT_TRUE(regularUpTo(lens, ray, 1000));
    EXPECT_LT(distance(inverse.undistort(lens.distort(ray)), ray), 1e-9);
  }
}

TEST(LensInverse, NothingAcrossALobeIsAccepted) {
  // The radial map is nearly level around r = 1.2, and tangential terms of 0.01 fold it there on
  // one side of the image. Rays beyond that lobe share their pixels with rays before it.
  const LensDistortion<double> lens{0.237418, -0.00708132, 0.00232463, -0.00762599,
                                    0.202843, -0.275044,   0.295924,   0.260271};
  internal::LensInverse inverse(lens);
  int shared = 0;
  for (int i = 1; i <= 40; ++i) {
    for (int j = 0; j < 40; ++j) {
      const Point ray = polar(0.05 * i, 0.157 * j);
      if (!regularUpTo(lens, ray, 500)) continue;
      const Point target = lens.distort(ray);
      const Point answer = inverse.undistort(target);
      ASSERT_FALSE(isNan(answer)) << ray.x << " " << ray.y;
      EXPECT_TRUE(regularUpTo(lens, answer, 500)) << ray.x << " " << ray.y;
      if (distance(answer, ray) > 1e-6) ++shared;
    }
  }
  // The images of what lies on straight regular ways from the centre hardly overlap.
  EXPECT_LE(shared, 2);
}

/// The answer of the inverse for where the lens puts a point is that point on the first branch, and
/// another one or none beyond it.
TEST(LensInverse, TellsThePointsOfItsBranch) {
  std::mt19937_64 random(24);
  for (const NamedLens& named : kLenses) {
    const LensDistortion<double> lens = named.lens();
    internal::LensInverse inverse(lens);
    std::uniform_real_distribution<double> coordinate(-1.6 * named.radius, 1.6 * named.radius);
    int inside = 0;
    for (int i = 0; i < 500; ++i) {
      const Point p{coordinate(random), coordinate(random)};
      const bool comes_back = distance(inverse.undistort(lens.distort(p)), p) < 1e-6;
      EXPECT_EQ(inverse.isOnFirstBranch(p), comes_back) << named << " " << p.x << " " << p.y;
      if (comes_back) ++inside;
    }
    EXPECT_GT(inside, 50) << named;
  }
  internal::LensInverse folding(testing::lensNamed("folding barrel").lens());
  EXPECT_TRUE(folding.isOnFirstBranch({0.816, 0}));
  EXPECT_FALSE(folding.isOnFirstBranch({0.817, 0}));
  EXPECT_FALSE(folding.isOnFirstBranch({0, std::nan("")}));
  EXPECT_FALSE(internal::LensInverse({std::nan("")}).isOnFirstBranch({0, 0}));
}

TEST(LensInverse, NothingIsAnsweredWithoutFiniteInput) {
  const LensDistortion<double> good{-0.1, 0.02, 1e-3, 1e-3, 0.01, 0.02, 0.01, 0.001};
  for (const double bad : {std::nan(""), std::numeric_limits<double>::infinity(),
                           -std::numeric_limits<double>::infinity()}) {
    for (const Point& target : {Point{0, 0}, Point{0.2, 0}, Point{0.1, -0.3}}) {
      for (double LensDistortion<double>::*field :
           {&LensDistortion<double>::k1, &LensDistortion<double>::k2, &LensDistortion<double>::p1,
            &LensDistortion<double>::p2, &LensDistortion<double>::k3, &LensDistortion<double>::k4,
            &LensDistortion<double>::k5, &LensDistortion<double>::k6}) {
        LensDistortion<double> lens = good;
        lens.*field = bad;
        EXPECT_TRUE(isNan(internal::LensInverse(lens).undistort(target)));
      }
    }
    EXPECT_TRUE(isNan(internal::LensInverse(good).undistort({bad, 0})));
    EXPECT_TRUE(isNan(internal::LensInverse(good).undistort({0, bad})));
    EXPECT_TRUE(isNan(internal::LensInverse(good).undistort({bad, bad})));
  }
}

/// Coefficients in [-largest, largest], some absent; tangential ones in [-tangential, tangential].
LensDistortion<double> randomLens(double largest, double tangential, std::mt19937_64* random) {
  std::uniform_real_distribution<double> coefficient(-largest, largest);
  std::uniform_real_distribution<double> decentring(-tangential, tangential);
  std::bernoulli_distribution present(0.7);
  LensDistortion<double> lens;
  for (double* k : {&lens.k1, &lens.k2, &lens.k3, &lens.k4, &lens.k5, &lens.k6}) {
    *k = present(*random) ? coefficient(*random) : 0;
  }
  lens.p1 = decentring(*random);
  lens.p2 = decentring(*random);
  return lens;
}

TEST(LensInverse, RandomRadialLenses) {
  constexpr double kStep = 1e-3;
  constexpr double kLimit = 4;
  std::mt19937_64 random(25);
  std::uniform_real_distribution<double> fraction(0, 0.999);
  std::uniform_real_distribution<double> angle(-3.14, 3.14);
  std::uniform_real_distribution<double> coordinate(-2, 2);
  double worst_residual = 0;
  int unreachable = 0;
  for (int trial = 0; trial < 6000; ++trial) {
    const double largest = trial % 3 == 0 ? 0.3 : trial % 3 == 1 ? 2.0 : 20.0;
    const LensDistortion<double> lens = randomLens(largest, 0, &random);
    const double rough_end = bruteForceBranchEnd(lens, kLimit, kStep);
    const double end =
        std::isinf(rough_end) ? kLimit : std::sqrt(internal::RadialBranch(lens).end());
    internal::LensInverse inverse(lens);
    for (int i = 0; i < 10; ++i) {
      const Point ray = polar(end * fraction(random), angle(random));
      const Point target = lens.distort(ray);
      const Point answer = inverse.undistort(target);
      ASSERT_FALSE(isNan(answer)) << trial;
      worst_residual = std::fmax(worst_residual, relativeResidual(lens, answer, target));
      EXPECT_LT(length(answer), rough_end + 1.1 * kStep);
      // Next to the fold the slope is at least about 1e-3 of what it is before.
      EXPECT_LT(distance(answer, ray), 1e-6 * length(ray)) << trial;
    }
    for (int i = 0; i < 10; ++i) {
      const Point target{coordinate(random), coordinate(random)};
      const Point answer = inverse.undistort(target);
      if (!isNan(answer)) {
        worst_residual = std::fmax(worst_residual, relativeResidual(lens, answer, target));
        EXPECT_LT(length(answer), rough_end + 1.1 * kStep);
        continue;
      }
      ++unreachable;
      // No ray of the branch comes as far out.
      for (double r = 0; r < std::fmin(rough_end, kLimit); r += kStep) {
        ASSERT_LT(length(lens.distort(Point{r, 0})), length(target)) << trial;
      }
    }
  }
  // Measured: 0.9995.
  EXPECT_LT(worst_residual, 1.1);
  EXPECT_GT(unreachable, 20000);
}

TEST(LensInverse, RandomLensesWithTangentialTerms) {
  constexpr double kLimit = 3;
  std::mt19937_64 random(26);
  std::uniform_real_distribution<double> fraction(0, 0.99);
  std::uniform_real_distribution<double> angle(-3.14, 3.14);
  std::uniform_real_distribution<double> coordinate(-2, 2);
  double worst_residual = 0;
  int rays = 0;
  int answers = 0;
  for (int trial = 0; trial < 6000; ++trial) {
    const double largest = trial % 3 == 0 ? 0.3 : trial % 3 == 1 ? 2.0 : 20.0;
    const double tangential = trial % 2 == 0 ? 0.01 : 0.05;
    const LensDistortion<double> lens = randomLens(largest, tangential, &random);
    const double radial_end = std::sqrt(internal::RadialBranch(lens).end());
    const double end = std::fmin(radial_end, kLimit);
    internal::LensInverse inverse(lens);
    for (int i = 0; i < 10; ++i) {
      const Point ray = polar(end * fraction(random), angle(random));
      if (!regularUpTo(lens, ray, 300)) continue;
      ++rays;
      const Point target = lens.distort(ray);
      const Point answer = inverse.undistort(target);
      ASSERT_FALSE(isNan(answer)) << trial << ": " << ray.x << " " << ray.y;
      worst_residual = std::fmax(worst_residual, relativeResidual(lens, answer, target));
      EXPECT_LT(distance(answer, ray), 1e-5 * length(ray)) << trial;
    }
    for (int i = 0; i < 10; ++i) {
      const Point target{coordinate(random), coordinate(random)};
      const Point answer = inverse.undistort(target);
      if (isNan(answer)) continue;
      ++answers;
      worst_residual = std::fmax(worst_residual, relativeResidual(lens, answer, target));
      EXPECT_LT(length(answer), radial_end);
      EXPECT_TRUE(regularUpTo(lens, answer, 400)) << trial;
    }
  }
  // Measured: 0.9997.
  EXPECT_LT(worst_residual, 1.1);
  EXPECT_GT(rays, 50000);
  EXPECT_GT(answers, 10000);
}

}  // namespace
}  // namespace norv::calibration
