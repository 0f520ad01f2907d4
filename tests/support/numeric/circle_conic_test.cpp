// Points that a conic and the unit circle share, against conics whose points are known by algebra.

#include "support/numeric/circle_conic.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "testing/random_head.h"

namespace norv::internal {
namespace {

using testing::kRadians;
using testing::uniform;

struct Line {
  double x;
  double y;
  double one;
};

/// The line through the points of the circle at two angles; its tangent where they are the same.
Line chord(double first, double second) {
  const double middle = 0.5 * (first + second);
  return {std::cos(middle), std::sin(middle), -std::cos(0.5 * (first - second))};
}

Conic product(const Line& a, const Line& b) {
  return {a.x * b.x,
          a.x * b.y + a.y * b.x,
          a.y * b.y,
          a.x * b.one + a.one * b.x,
          a.y * b.one + a.one * b.y,
          a.one * b.one};
}

/// `conic` + `factor` (x^2 + y^2 - 1), which has the same points on the circle.
Conic withCircle(Conic conic, double factor) {
  conic.xx += factor;
  conic.yy += factor;
  conic.one -= factor;
  return conic;
}

Conic scaled(const Conic& c, double factor) {
  return {c.xx * factor, c.xy * factor, c.yy * factor, c.x * factor, c.y * factor, c.one * factor};
}

double valueAt(const Conic& c, double x, double y) {
  return c.xx * x * x + c.xy * x * y + c.yy * y * y + c.x * x + c.y * y + c.one;
}

/// How far the nearest of the points is from the one at an angle; infinite where there is none.
double distanceTo(const CirclePoints& points, double angle) {
  double nearest = std::numeric_limits<double>::infinity();
  for (std::size_t i = 0; i < points.count; ++i) {
    nearest = std::min(nearest, std::hypot(points.points[i].x - std::cos(angle),
                                           points.points[i].y - std::sin(angle)));
  }
  return nearest;
}

/// Points that are met, those where a line passes the circle left out.
std::size_t countMet(const CirclePoints& points) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < points.count; ++i) count += points.points[i].is_beside ? 0U : 1U;
  return count;
}

void expectOnCircle(const CirclePoints& points) {
  ASSERT_LE(points.count, 4U);
  for (std::size_t i = 0; i < points.count; ++i) {
    // Measured 4e-16.
    EXPECT_NEAR(std::hypot(points.points[i].x, points.points[i].y), 1, 2e-15);
  }
}

TEST(CircleConic, TwoLinesMeetItInFourPoints) {
  const std::array<double, 4> angles = {10 * kRadians, 75 * kRadians, 160 * kRadians,
                                        -110 * kRadians};
  const Conic lines = product(chord(angles[0], angles[1]), chord(angles[2], angles[3]));
  const CirclePoints points = meetUnitCircle(lines);
  EXPECT_EQ(countMet(points), 4U);
  for (const double angle : angles) EXPECT_LT(distanceTo(points, angle), 1e-14);
}

TEST(CircleConic, EllipseAlongTheAxes) {
  // 4 x^2 + y^2 / 4 = 1 with x^2 + y^2 = 1: x^2 = 3 / 15, y^2 = 12 / 15.
  const CirclePoints points = meetUnitCircle({4, 0, 0.25, 0, 0, -1});
  EXPECT_EQ(countMet(points), 4U);
  const double angle = std::atan2(std::sqrt(12.0), std::sqrt(3.0));
  for (const double one : {angle, -angle, kRadians * 180 - angle, angle - kRadians * 180}) {
    EXPECT_LT(distanceTo(points, one), 1e-15);
  }
}

TEST(CircleConic, HyperbolaAlongTheDiagonals) {
  // x y = 1/4: sin 2a = 1/2.
  const CirclePoints points = meetUnitCircle({0, 1, 0, 0, 0, -0.25});
  EXPECT_EQ(countMet(points), 4U);
  for (const double angle : {15.0, 75.0, -165.0, -105.0}) {
    EXPECT_LT(distanceTo(points, angle * kRadians), 1e-15);
  }
}

TEST(CircleConic, Parabola) {
  // y = 2 x^2 - 1: y = 1 - 2 y^2, that is y = 1/2 and y = -1, where it touches.
  const CirclePoints points = meetUnitCircle({2, 0, 0, 0, -1, -1});
  EXPECT_LT(distanceTo(points, 30 * kRadians), 1e-15);
  EXPECT_LT(distanceTo(points, 150 * kRadians), 1e-15);
  EXPECT_LT(distanceTo(points, -90 * kRadians), 1e-7);
}

TEST(CircleConic, LineWithoutQuadraticPart) {
  const Line line = chord(20 * kRadians, 140 * kRadians);
  for (const double circle : {0.0, 1.0, -3.0}) {
    const CirclePoints points =
        meetUnitCircle(withCircle({0, 0, 0, line.x, line.y, line.one}, circle));
    EXPECT_EQ(countMet(points), 2U) << circle;
    EXPECT_LT(distanceTo(points, 20 * kRadians), 4e-15) << circle;
    EXPECT_LT(distanceTo(points, 140 * kRadians), 4e-15) << circle;
  }
}

TEST(CircleConic, LineWithHardlyAnyQuadraticPart) {
  const Line line = chord(20 * kRadians, 140 * kRadians);
  const Line far = {0.6, 0.8, 1};
  for (double part = 1e-3; part > 1e-320; part *= 1e-3) {
    const CirclePoints points =
        meetUnitCircle(product(line, {part * far.x, part * far.y, far.one}));
    EXPECT_EQ(countMet(points), 2U) << part;
    // Measured 3e-16.
    EXPECT_LT(distanceTo(points, 20 * kRadians), 4e-15) << part;
    EXPECT_LT(distanceTo(points, 140 * kRadians), 4e-15) << part;
  }
}

TEST(CircleConic, DoubleLine) {
  // Each point is counted twice, and is good to the root of the rounding.
  const Line line = chord(20 * kRadians, 140 * kRadians);
  const CirclePoints points = meetUnitCircle(product(line, line));
  EXPECT_LT(distanceTo(points, 20 * kRadians), 1e-7);
  EXPECT_LT(distanceTo(points, 140 * kRadians), 1e-7);
}

TEST(CircleConic, TangentLine) {
  const CirclePoints points =
      meetUnitCircle(product(chord(50 * kRadians, 50 * kRadians), chord(-1, 2.5)));
  EXPECT_LT(distanceTo(points, 50 * kRadians), 1e-7);
  EXPECT_LT(distanceTo(points, -1), 1e-14);
  EXPECT_LT(distanceTo(points, 2.5), 1e-14);
}

TEST(CircleConic, TheCircleItselfHasNoPointsOfItsOwn) {
  EXPECT_EQ(meetUnitCircle({1, 0, 1, 0, 0, -1}).count, 0U);
  EXPECT_EQ(meetUnitCircle({0, 0, 0, 0, 0, 0}).count, 0U);
}

TEST(CircleConic, ConicsThatPassTheCircle) {
  // An ellipse within, one around, and two lines beside it. What is near is told to be beside.
  EXPECT_EQ(countMet(meetUnitCircle({4, 0, 9, 0, 0, -1})), 0U);
  EXPECT_EQ(countMet(meetUnitCircle({0.1, 0, 0.2, 0, 0, -1})), 0U);
  const CirclePoints points = meetUnitCircle(product({1, 0, -1.001}, {0, 1, -1.5}));
  EXPECT_EQ(countMet(points), 0U);
  EXPECT_LT(distanceTo(points, 0), 1e-12);
  EXPECT_LT(distanceTo(points, 90 * kRadians), 1e-12);
}

TEST(CircleConic, NotFinite) {
  const double inf = std::numeric_limits<double>::infinity();
  for (const double bad : {inf, -inf, std::numeric_limits<double>::quiet_NaN()}) {
    for (int i = 0; i < 6; ++i) {
      std::array<double, 6> c = {1, 0.3, -2, 0.4, 0.5, 0.6};
      c.at(static_cast<std::size_t>(i)) = bad;
      EXPECT_EQ(meetUnitCircle({c[0], c[1], c[2], c[3], c[4], c[5]}).count, 0U) << i << " " << bad;
    }
  }
}

TEST(CircleConic, LargeAndSmallNumbers) {
  const Conic hyperbola = {0, 1, 0, 0, 0, -0.25};
  for (const double factor : {1e-150, 1e-70, 1e70, 1e150}) {
    const CirclePoints points = meetUnitCircle(scaled(hyperbola, factor));
    EXPECT_EQ(countMet(points), 4U) << factor;
    EXPECT_LT(distanceTo(points, 15 * kRadians), 1e-15) << factor;
  }
}

/// Four angles, and a conic that meets the circle there: two chords, which may cross, and any
/// multiple of the circle on top.
struct RandomConic {
  std::array<double, 4> angles;
  Conic conic;
};

RandomConic randomConic(std::mt19937_64* random) {
  RandomConic result{};
  for (double& angle : result.angles) angle = uniform(random, -180, 180) * kRadians;
  const auto& a = result.angles;
  result.conic = withCircle(product(chord(a[0], a[1]), chord(a[2], a[3])), uniform(random, -2, 2));
  result.conic = scaled(result.conic, std::pow(10, uniform(random, -6, 6)));
  return result;
}

/// By how much rounding of the conic moves its point on the circle at an angle, to first order: the
/// rounding of the coefficients over the slope along the circle.
double roundingAt(const Conic& c, double angle) {
  const double x = std::cos(angle);
  const double y = std::sin(angle);
  const double slope = c.xy * (x * x - y * y) + 2 * (c.yy - c.xx) * x * y + c.y * x - c.x * y;
  const double size = std::abs(c.xx) + std::abs(c.xy) + std::abs(c.yy) + std::abs(c.x) +
                      std::abs(c.y) + std::abs(c.one);
  return std::numeric_limits<double>::epsilon() * size / std::abs(slope);
}

TEST(CircleConic, RandomConicsThroughFourPoints) {
  std::mt19937_64 random(21);
  double worst = 0;
  std::vector<double> errors;
  for (int i = 0; i < 100000; ++i) {
    const RandomConic one = randomConic(&random);
    const CirclePoints points = meetUnitCircle(one.conic);
    expectOnCircle(points);
    for (const double angle : one.angles) {
      const double distance = distanceTo(points, angle);
      worst = std::max(worst, distance);
      errors.push_back(distance / roundingAt(one.conic, angle));
    }
  }
  std::sort(errors.begin(), errors.end());
  // Measured 2e-7, where points come close to each other.
  EXPECT_LT(worst, 1e-6);
  // Measured 0.19 and 230.
  EXPECT_LT(errors[errors.size() / 2], 1);
  EXPECT_LT(errors[errors.size() / 1000 * 999], 1000);
}

TEST(CircleConic, PointsThatAreNearlyOne) {
  std::mt19937_64 random(22);
  for (int i = 0; i < 20000; ++i) {
    const double gap = std::pow(10, uniform(&random, -16, -2));
    const double at = uniform(&random, -3, 3);
    const double third = at + uniform(&random, 0.5, 2.5);
    const double fourth = third + uniform(&random, 0.5, 2.5);
    const Conic conic =
        withCircle(product(chord(at, third), chord(at + gap, fourth)), uniform(&random, -2, 2));
    const CirclePoints points = meetUnitCircle(conic);
    // The root of the rounding: measured 4e-8.
    EXPECT_LT(distanceTo(points, at), 3e-7) << i << " gap " << gap;
    EXPECT_LT(distanceTo(points, at + gap), 3e-7) << i << " gap " << gap;
  }
}

/// Changes of sign of the conic's value around the circle, in so many steps.
int signChanges(const Conic& conic, int steps) {
  int changes = 0;
  bool last = valueAt(conic, 1, 0) > 0;
  for (int i = 1; i <= steps; ++i) {
    const double angle = 360 * kRadians * (i % steps) / steps;
    const bool now = valueAt(conic, std::cos(angle), std::sin(angle)) > 0;
    changes += now == last ? 0 : 1;
    last = now;
  }
  return changes;
}

TEST(CircleConic, NeitherMissesNorMakesUpWhatConicsOfAnyNumbersMeet) {
  std::mt19937_64 random(23);
  std::array<int, 5> counts{};
  for (int i = 0; i < 5000; ++i) {
    Conic conic{};
    for (double* number : {&conic.xx, &conic.xy, &conic.yy, &conic.x, &conic.y, &conic.one}) {
      *number = uniform(&random, -1, 1);
    }
    const auto changes = static_cast<std::size_t>(signChanges(conic, 3600));
    ASSERT_LE(changes, 4U);
    ++counts.at(changes);
    const CirclePoints points = meetUnitCircle(conic);
    std::size_t met = 0;
    for (std::size_t k = 0; k < points.count; ++k) {
      const CirclePoint& at = points.points[k];
      if (!at.is_beside && std::abs(valueAt(conic, at.x, at.y)) < 1e-7) ++met;
    }
    // Between two steps there may be two points more.
    EXPECT_GE(met, changes) << i;
    EXPECT_LE(met, changes + 2) << i;
  }
  // Measured 967, 3457 and 576.
  for (const std::size_t count : {0U, 2U, 4U}) EXPECT_GT(counts.at(count), 100) << count;
}

}  // namespace
}  // namespace norv::internal
