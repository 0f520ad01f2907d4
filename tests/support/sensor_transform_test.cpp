#include "support/sensor_transform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <type_traits>
#include <utility>
#include <vector>

#include "testing/allocation_count.h"
#include "testing/lens_tables.h"

namespace norv::calibration {
namespace {

using testing::headCameraTables;
using testing::LensTables;
using testing::sampleLens;
using testing::Stereographic;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kMaxFloat = std::numeric_limits<float>::max();

AptinaSTE headCamera() {
  const LensTables tables = headCameraTables();
  return AptinaSTE(640, 480, 0.9F, tables.radii, tables.degrees);
}

bool isNaN(const Vector2_f& p) { return std::isnan(p.x()) && std::isnan(p.y()); }

TEST(AptinaSTE, IsASensorTransformThatIsNotCopied) {
  static_assert(std::is_base_of_v<ImageSensorTransform, AptinaSTE>);
  static_assert(std::is_abstract_v<ImageSensorTransform>);
  static_assert(!std::is_copy_constructible_v<AptinaSTE> && !std::is_copy_assignable_v<AptinaSTE>);
  const LensTables tables = headCameraTables();
  const std::unique_ptr<const ImageSensorTransform> transform =
      std::make_unique<AptinaSTE>(640, 480, 0.9F, tables.radii, tables.degrees);
  EXPECT_NEAR(transform->transformPoint({1280, 480}).x(), 1357.618, 1e-3);
  EXPECT_NEAR(transform->inverseTransformPoint({1357.618F, 480}).x(), 1280, 1e-3);
}

TEST(AptinaSTE, HeadCameraPoints) {
  // Reference: the same least squares solved with NumPy.
  const std::pair<Vector2_f, Vector2_f> expected[] = {
      {{640, 480}, {640, 480}},           {{0, 0}, {-192.858F, -144.644F}},
      {{1280, 480}, {1357.618F, 480}},    {{640, 0}, {640, -5.936F}},
      {{900, 700}, {887.850F, 689.719F}},
  };
  const AptinaSTE transform = headCamera();
  for (const auto& [p, warped] : expected) {
    EXPECT_LT((transform.transformPoint(p) - warped).norm(), 1e-3) << p.transpose();
    EXPECT_LT((transform.inverseTransformPoint(warped) - p).norm(), 1e-3) << p.transpose();
  }
}

TEST(AptinaSTE, TheImageIsThatOfAPinholeCamera) {
  // A ray at (a, b, 1) meets the stereographic lens' sensor at 2 f tan(theta / 2) and must leave
  // at 0.9 f tan(theta), that is, at the pixel (640 + 648 a, 480 + 648 b).
  const LensTables tables = sampleLens(Stereographic{720}, 10, 100);
  const AptinaSTE transform(640, 480, 0.9F, tables.radii, tables.degrees);
  for (double a = -0.98; a <= 0.98; a += 0.07) {
    for (double b = -0.74; b <= 0.74; b += 0.074) {
      const double theta = std::atan(std::hypot(a, b));
      const double r = 1440 * std::tan(theta / 2);
      const double direction = std::atan2(b, a);
      const Vector2_f seen(static_cast<float>(640 + r * std::cos(direction)),
                           static_cast<float>(480 + r * std::sin(direction)));
      const Vector2_f warped = transform.transformPoint(seen);
      // Measured 1e-4, rounding to single precision.
      EXPECT_NEAR(warped.x(), 640 + 648 * a, 2e-4);
      EXPECT_NEAR(warped.y(), 480 + 648 * b, 2e-4);
    }
  }
}

TEST(AptinaSTE, TheHeadCamerasFieldOfView) {
  // The edges of the output, traced back to the lens. With fx = fy = 324 at 640 x 480 the field is
  // 2 atan(320 / 324) by 2 atan(240 / 324).
  const AptinaSTE transform = headCamera();
  const auto field = [](float radius) {
    return 2 * Stereographic{720}(static_cast<double>(radius)) / testing::kRadiansPerDegree;
  };
  const float across = transform.inverseTransformPoint({1280, 480}).x() - 640;
  const float down = transform.inverseTransformPoint({640, 960}).y() - 480;
  // Measured 0.010 and 0.005, from the rounding of the table.
  EXPECT_NEAR(field(across), 89.29, 0.02);
  EXPECT_NEAR(field(down), 73.06, 0.02);
  // No pixel of the output lies outside the sensor.
  for (float x = 0; x <= 1280; x += 16) {
    for (float y = 0; y <= 960; y += 16) {
      const Vector2_f seen = transform.inverseTransformPoint({x, y});
      EXPECT_TRUE(seen.x() >= 0 && seen.x() <= 1280 && seen.y() >= 0 && seen.y() <= 960)
          << x << " " << y;
    }
  }
}

TEST(AptinaSTE, TheFactorMagnifies) {
  const LensTables tables = headCameraTables();
  const AptinaSTE once(640, 480, 1, tables.radii, tables.degrees);
  const AptinaSTE twice(640, 480, 2, tables.radii, tables.degrees);
  const Vector2_f centre(640, 480);
  const Vector2_f p(1000, 200);
  const Vector2_f moved = once.transformPoint(p) - centre;
  const Vector2_f moved_twice = twice.transformPoint(p) - centre;
  EXPECT_LT((moved_twice - 2 * moved).norm(), 3e-4);
}

TEST(AptinaSTE, TheCentreIsTheOutputsSize) {
  const LensTables tables = headCameraTables();
  for (const auto& [width, height] : {std::pair(640, 480), {320, 200}, {0, 0}, {-7, 5}}) {
    const AptinaSTE transform(width, height, 0.9F, tables.radii, tables.degrees);
    const Vector2_f centre(static_cast<float>(width), static_cast<float>(height));
    EXPECT_EQ(transform.transformPoint(centre), centre);
    EXPECT_EQ(transform.inverseTransformPoint(centre), centre);
    const Vector2_f left = centre - Vector2_f(100, 0);
    EXPECT_NEAR(transform.transformPoint(left).x(), centre.x() - 90.4356F, 1e-4);
  }
}

TEST(AptinaSTE, CloseToTheCentre) {
  // With the centre at the origin single precision resolves the closest points.
  const LensTables tables = headCameraTables();
  const AptinaSTE transform(0, 0, 0.9F, tables.radii, tables.degrees);
  for (const float tiny : {1e-3F, 1e-12F, 1e-30F}) {
    const Vector2_f warped = transform.transformPoint({tiny, -2 * tiny});
    EXPECT_NEAR(warped.x() / (0.9F * tiny), 1, 1e-6) << tiny;
    EXPECT_NEAR(warped.y() / (-1.8F * tiny), 1, 1e-6) << tiny;
  }
  const float tiniest = std::numeric_limits<float>::denorm_min();
  EXPECT_EQ(transform.transformPoint({tiniest, 0}), Vector2_f(tiniest, 0));
}

TEST(AptinaSTE, RoundTripsThroughSinglePrecision) {
  const AptinaSTE transform = headCamera();
  float there_and_back = 0;
  float back_and_there = 0;
  for (float x = -1280; x <= 2560; x += 11) {
    for (float y = -960; y <= 1920; y += 9) {
      const Vector2_f p(x, y);
      const Vector2_f warped = transform.transformPoint(p);
      const Vector2_f seen = transform.inverseTransformPoint(p);
      there_and_back =
          std::max(there_and_back, (transform.inverseTransformPoint(warped) - p).norm());
      back_and_there = std::max(back_and_there, (transform.transformPoint(seen) - p).norm());
    }
  }
  // Measured 1.7e-4 and 4.4e-4. A unit in the last place is 2.4e-4 beyond 2048, and the slope 4.8.
  EXPECT_LT(there_and_back, 1e-3F);
  EXPECT_LT(back_and_there, 1e-3F);
}

TEST(AptinaSTE, RoundTripsWithinTheFrame) {
  const AptinaSTE transform = headCamera();
  std::mt19937_64 random(3);
  std::uniform_real_distribution<float> x(0, 1280);
  std::uniform_real_distribution<float> y(0, 960);
  for (int i = 0; i < 20000; ++i) {
    const Vector2_f p(x(random), y(random));
    const Vector2_f warped = transform.transformPoint(p);
    // Measured 9e-5.
    ASSERT_LT((transform.inverseTransformPoint(warped) - p).norm(), 3e-4) << p.transpose();
  }
}

void expectIdentity(const AptinaSTE& transform) {
  for (const Vector2_f& p : {Vector2_f(640, 480), Vector2_f(0, 0), Vector2_f(1279.5F, 3.25F),
                             Vector2_f(-1e30F, kMaxFloat), Vector2_f(kInfinity, -1)}) {
    EXPECT_EQ(transform.transformPoint(p), p);
    EXPECT_EQ(transform.inverseTransformPoint(p), p);
  }
  const Vector2_f warped = transform.transformPoint({kNaN, 7});
  EXPECT_TRUE(std::isnan(warped.x()));
  EXPECT_EQ(warped.y(), 7);
}

TEST(AptinaSTE, TablesWithoutTwoUsableEntriesChangeNothing) {
  const auto transform = [](const std::vector<float>& radii, const std::vector<float>& degrees) {
    return AptinaSTE(640, 480, 0.9F, radii, degrees);
  };
  expectIdentity(transform({}, {}));
  expectIdentity(transform({0}, {0}));
  expectIdentity(transform({10}, {0.8F}));
  expectIdentity(transform({0, 10}, {0, 0.8F}));
  expectIdentity(transform({0, 10, 20}, {0, 0.8F}));
  expectIdentity(transform({0, 10}, {0, 0.8F, 1.6F}));
  expectIdentity(transform({0, 10, 20}, {}));
  expectIdentity(transform({kNaN, 10, 20}, {0, 0.8F, 1.6F}));
  expectIdentity(transform({0, 10, 20}, {0, 0.8F, kNaN}));
  expectIdentity(transform({0, 10, kInfinity}, {0, 0.8F, 1.6F}));
  expectIdentity(transform({0, 10, 5}, {0, 0.8F, 1.6F}));
  expectIdentity(transform({0, 10, 20}, {0, 0.8F, 0.8F}));
  expectIdentity(transform({0, 10, 20}, {0, 79, 81}));
  // Two are enough.
  EXPECT_NE(transform({0, 10, 20}, {0, 0.8F, 1.6F}).transformPoint({0, 0}), Vector2_f(0, 0));
  EXPECT_NE(transform({10, 20}, {0.8F, 1.6F}).transformPoint({0, 0}), Vector2_f(0, 0));
}

TEST(AptinaSTE, FactorsThatMagnifyNothingChangeNothing) {
  const LensTables tables = headCameraTables();
  for (const float factor : {0.0F, -0.0F, -0.9F, kNaN, kInfinity, -kInfinity}) {
    SCOPED_TRACE(factor);
    expectIdentity(AptinaSTE(640, 480, factor, tables.radii, tables.degrees));
  }
}

TEST(AptinaSTE, WhatFollowsTheUsableEntriesIsIgnored) {
  LensTables tables = headCameraTables();
  const auto radius_of_800 = [&tables] {
    return AptinaSTE(0, 0, 0.9F, tables.radii, tables.degrees).transformPoint({800, 0}).x();
  };
  tables.radii.resize(60);
  tables.degrees.resize(60);
  const float expected = radius_of_800();
  tables.radii.insert(tables.radii.end(), {600, 610});
  EXPECT_EQ(radius_of_800(), expected);
  tables.degrees.insert(tables.degrees.end(), {kNaN, 46});
  EXPECT_EQ(radius_of_800(), expected);
  tables.degrees[60] = 80.5F;
  EXPECT_EQ(radius_of_800(), expected);
  tables.degrees[60] = 20;
  EXPECT_EQ(radius_of_800(), expected);
  tables.degrees[60] = 45.2F;
  EXPECT_NE(radius_of_800(), expected);
}

TEST(AptinaSTE, PointsThatAreNotFinite) {
  const AptinaSTE transform = headCamera();
  for (const float bad : {kNaN, kInfinity, -kInfinity}) {
    for (const Vector2_f& p : {Vector2_f(bad, 1), Vector2_f(1, bad), Vector2_f(bad, bad)}) {
      EXPECT_TRUE(isNaN(transform.transformPoint(p))) << p.transpose();
      EXPECT_TRUE(isNaN(transform.inverseTransformPoint(p))) << p.transpose();
    }
  }
}

TEST(AptinaSTE, PointsFarAway) {
  const AptinaSTE transform = headCamera();
  // The continuation's slope, which is all that counts out there.
  EXPECT_NEAR(transform.transformPoint({1e30F, 480}).x() / 4.765508e30F, 1, 1e-6);
  EXPECT_NEAR(transform.inverseTransformPoint({1e30F, 480}).x() * 4.765508F / 1e30F, 1, 1e-6);
  EXPECT_EQ(transform.transformPoint({kMaxFloat, 480}).x(), kInfinity);
  EXPECT_EQ(transform.transformPoint({-kMaxFloat, -kMaxFloat}), Vector2_f(-kInfinity, -kInfinity));
  EXPECT_TRUE(transform.inverseTransformPoint({kMaxFloat, kMaxFloat}).allFinite());
}

TEST(AptinaSTE, LargestSizes) {
  const LensTables tables = headCameraTables();
  for (const int size : {INT_MAX, INT_MIN}) {
    const AptinaSTE transform(size, size, 0.9F, tables.radii, tables.degrees);
    const auto centre = static_cast<float>(size);
    const Vector2_f warped = transform.transformPoint({0, 0});
    // r' = 1688.98 + 4.7655 (r - 990), both ways alike.
    EXPECT_NEAR(warped.x() / (centre * (1 - 4.765508F)), 1, 1e-5);
    EXPECT_EQ(warped.x(), warped.y());
  }
}

TEST(AptinaSTE, RandomTablesNeverGiveNaN) {
  std::mt19937_64 random(11);
  std::uniform_real_distribution<float> uniform(0, 1);
  std::uniform_real_distribution<float> exponent(-44, 38);
  const auto anything = [&] { return std::pow(10.0F, exponent(random)); };
  for (int trial = 0; trial < 2000; ++trial) {
    LensTables tables;
    for (int i = 0; i < 12; ++i) {
      tables.radii.push_back(anything());
      tables.degrees.push_back(trial % 2 == 0 ? 80 * uniform(random) : anything());
    }
    std::sort(tables.radii.begin(), tables.radii.end());
    std::sort(tables.degrees.begin(), tables.degrees.end());
    const AptinaSTE transform(640, 480, anything(), tables.radii, tables.degrees);
    for (int i = 0; i < 20; ++i) {
      const Vector2_f p(anything(), -anything());
      const Vector2_f warped = transform.transformPoint(p);
      const Vector2_f seen = transform.inverseTransformPoint(p);
      ASSERT_FALSE(warped.hasNaN() || seen.hasNaN()) << trial << " at " << p.transpose();
    }
  }
}

TEST(AptinaSTE, NothingIsAllocatedForAPoint) {
  const LensTables short_table = sampleLens(Stereographic{720}, 100, 6);
  const AptinaSTE smooth = headCamera();
  const AptinaSTE cubic(640, 480, 0.9F, short_table.radii, short_table.degrees);
  const int before = testing::allocationCount();
  float sum = 0;
  for (const AptinaSTE* transform : {&smooth, &cubic}) {
    for (float x = 0; x <= 2560; x += 64) {
      sum += transform->transformPoint({x, x}).x() + transform->inverseTransformPoint({x, x}).x();
    }
  }
  const int after = testing::allocationCount();
  EXPECT_EQ(after, before);
  EXPECT_GT(before, 0);
  EXPECT_TRUE(std::isfinite(sum));
}

}  // namespace
}  // namespace norv::calibration
