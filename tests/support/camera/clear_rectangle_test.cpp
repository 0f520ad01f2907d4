#include "support/camera/clear_rectangle.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

#include "support/camera/rectangle_search.h"

namespace norv::internal {
namespace {

using Eigen::Vector2d;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

PlaneCurve circle(const Vector2d& centre, double radius, int count) {
  PlaneCurve curve;
  for (int i = 0; i <= count; ++i) {
    const double angle = 2 * std::acos(-1.0) * i / count;
    curve.push_back(centre + radius * Vector2d(std::cos(angle), std::sin(angle)));
  }
  return curve;
}

/// The sides of a polygon, each with `count` chords.
void addPolygon(const std::vector<Vector2d>& corners, int count, ClearPlane* plane) {
  for (std::size_t i = 0; i < corners.size(); ++i) {
    const Vector2d& begin = corners[i];
    const Vector2d& end = corners[(i + 1) % corners.size()];
    PlaneCurve side;
    for (int k = 0; k <= count; ++k) side.push_back(begin + (end - begin) * k / count);
    plane->add(side);
  }
}

ClearPlane polygon(const std::vector<Vector2d>& corners, int count = 100) {
  ClearPlane plane;
  addPolygon(corners, count, &plane);
  return plane;
}

Reach reachOf(double left, double up, double right, double down) {
  return {{left, up}, {right, down}};
}

Placement largestAround(const ClearPlane& plane, const Vector2d& start, const Vector2d& half) {
  return largestClear(plane, plane, {half, start}, start);
}

TEST(ClearScale, NothingInTheWay) {
  EXPECT_EQ(ClearPlane().clearScale({0, 0}, reachOf(1, 1, 1, 1)), kInfinity);
  ClearPlane plane;
  plane.add({});
  plane.add({{1, 1}});
  EXPECT_EQ(plane.clearScale({0, 0}, reachOf(1, 1, 1, 1)), kInfinity);
}

TEST(ClearScale, OfAChord) {
  ClearPlane plane;
  plane.add({{3, -1}, {3, 5}});
  EXPECT_DOUBLE_EQ(plane.clearScale({0, 0}, reachOf(1, 1, 1, 1)), 3);
  EXPECT_DOUBLE_EQ(plane.clearScale({0, 0}, reachOf(1, 1, 2, 1)), 1.5);
  EXPECT_DOUBLE_EQ(plane.clearScale({4, 0}, reachOf(0.5, 1, 2, 1)), 2);
  // The upper end is met by the lower side of the rectangle.
  EXPECT_DOUBLE_EQ(plane.clearScale({3, 8}, reachOf(1, 0.5, 1, 1)), 6);
  // Neither of the ends, but the middle, by a corner: x + y = 4.
  ClearPlane oblique;
  oblique.add({{-6, 10}, {14, -10}});
  EXPECT_DOUBLE_EQ(oblique.clearScale({0, 0}, reachOf(1, 1, 1, 1)), 2);
  EXPECT_DOUBLE_EQ(oblique.clearScale({0, 0}, reachOf(1, 1, 3, 1)), 1);
}

TEST(ClearScale, OfACircleIsNeverTooLarge) {
  for (const int count : {16, 100, 1000}) {
    for (const double turn : {0.0, 0.3, 1.1}) {
      ClearPlane plane;
      const Vector2d centre(5, 7);
      plane.add(circle(centre, 2, count));
      // A rectangle of proportions like cosine and sine touches with its corners.
      const Vector2d half(std::cos(0.7 + turn / 3), std::sin(0.7 + turn / 3));
      const double scale = plane.clearScale(centre, {half, half});
      EXPECT_LE(scale, 2 + 1e-14);
      // The chords are up to 4.94 / count^2 off, times 2, and half as much again is kept off.
      // Measured: 2.1 times the first.
      EXPECT_GT(scale, 2 - 2.5 * 2 * 4.94 / count / count / half.minCoeff());
    }
  }
}

TEST(ClearScale, CurvesThatBulgeTowardsItAreKeptClearOf) {
  // The point (3, 7) of the circle lies between two samples.
  for (const int count : {15, 101, 1001}) {
    ClearPlane plane;
    plane.add(circle({5, 7}, 2, count));
    const double scale = plane.clearScale({0, 7}, reachOf(1, 1, 1, 1));
    EXPECT_LE(scale, 3);
    // The chord in the way is farther off than the curve by one part, and kept off by one and a
    // half. Measured: 0.48 to 0.5 of 2 times 4.94 / count^2.
    EXPECT_GT(scale, 3 - 2 * 4.94 / count / count);
  }
}

TEST(ClearScale, CurvesAreInterruptedWhereTheyAreNotFinite) {
  ClearPlane plane;
  plane.add({{3, -1}, {kInfinity, 0}, {3, 1}, {3, 2}});
  EXPECT_DOUBLE_EQ(plane.clearScale({0, 0}, reachOf(10, 1, 1, 0.1)), 10);
}

TEST(ClearRange, OfStripsBetweenCurves) {
  const ClearPlane plane = polygon({{-4, -3}, {5, -3}, {5, 6}, {-4, 6}});
  const Range x = plane.clearRange(0, 0, {-1, 1});
  EXPECT_DOUBLE_EQ(x.low, -4);
  EXPECT_DOUBLE_EQ(x.high, 5);
  const Range y = plane.clearRange(1, 0, {-1, 1});
  EXPECT_DOUBLE_EQ(y.low, -3);
  EXPECT_DOUBLE_EQ(y.high, 6);
  EXPECT_EQ(plane.clearRange(0, 0, {7, 8}).high, kInfinity);
}

TEST(LargestClear, FillsABox) {
  const ClearPlane plane = polygon({{-4, -3}, {5, -3}, {5, 6}, {-4, 6}});
  for (const Vector2d& start : {Vector2d(0.5, 1.5), Vector2d(4.9, 5.9), Vector2d(-3.99, 0)}) {
    // A square box: it is the answer, from everywhere.
    const Placement square = largestAround(plane, start, {1, 1});
    EXPECT_NEAR(square.scale, 4.5, 1e-9) << start.transpose();
    EXPECT_NEAR((square.centre - Vector2d(0.5, 1.5)).norm(), 0, 1e-9);
    // A wide one has room above and below, and lies in the middle.
    const Placement wide = largestAround(plane, start, {3, 1});
    EXPECT_NEAR(wide.scale, 1.5, 1e-9) << start.transpose();
    // Half of its height is 1.5, and it shows the point.
    const double y = std::max(1.5, start.y() - 1.5);
    EXPECT_NEAR((wide.centre - Vector2d(0.5, y)).norm(), 0, 1e-9) << start.transpose();
  }
}

TEST(LargestClear, FindsTheMiddleOfACircle) {
  ClearPlane plane;
  plane.add(circle({1, 2}, 5, 4000));
  const Placement found = largestAround(plane, {3, -1}, {3, 4});
  // Measured: 1.1e-6, what chords may be off, and 3e-16.
  EXPECT_NEAR(found.scale, 1, 1e-5);
  EXPECT_NEAR((found.centre - Vector2d(1, 2)).norm(), 0, 1e-6);
}

TEST(LargestClear, ClimbsOutOfAWedge) {
  // A triangle of which two sides meet the corners of a square that is centred on its axis, so that
  // it can be moved neither along x nor along y alone. The largest square about (c, c) has the
  // corners (c + h, c - h) on y = 0.6 x and (c + h, c + h) on x + y = 16.
  const ClearPlane plane = polygon({{0, 0}, {10, 6}, {6, 10}});
  const double half = 1.6;
  const Placement found = largestAround(plane, {5, 5}, {1, 1});
  // Measured: 1.8e-5 too small.
  EXPECT_NEAR(found.scale, half, 1e-3);
  EXPECT_LE(found.scale, half + 1e-12);
}

TEST(LargestClear, StaysInItsRegion) {
  // Two boxes side by side; the other one is larger.
  ClearPlane plane = polygon({{0, 0}, {2, 0}, {2, 2}, {0, 2}});
  addPolygon({{2.1, -10}, {22, -10}, {22, 10}, {2.1, 10}}, 100, &plane);
  const Placement found = largestAround(plane, {1.9, 0.2}, {1, 1});
  EXPECT_NEAR(found.scale, 1, 1e-9);
  EXPECT_NEAR((found.centre - Vector2d(1, 1)).norm(), 0, 1e-9);
}

TEST(LargestClear, ShowsWhatItHasTo) {
  // A corridor that widens to the right: the square would be larger there.
  const ClearPlane plane = polygon({{0, -1}, {20, -5}, {20, 5}, {0, 1}});
  const Placement found = largestAround(plane, {1, 0}, {1, 1});
  // The left side of the square stands at x = 1, where the corridor is half as high as it is.
  EXPECT_NEAR(found.scale, 1.2, 1e-3);
  EXPECT_NEAR(found.centre.x(), 2.2, 1e-2);
}

TEST(LargestAnywhere, FindsWhatMovesDoNotReach) {
  // Two rooms with a door between them; the other one is larger.
  ClearPlane plane = polygon({{0, 0},
                              {2, 0},
                              {2, 0.9},
                              {2.1, 0.9},
                              {2.1, -4},
                              {12, -4},
                              {12, 5},
                              {2.1, 5},
                              {2.1, 1.1},
                              {2, 1.1},
                              {2, 2},
                              {0, 2}});
  const auto in_rooms = [](const Vector2d& p) {
    const bool in_one = p.x() > 0 && p.x() < 2 && p.y() > 0 && p.y() < 2;
    const bool in_other = p.x() > 2.1 && p.x() < 12 && p.y() > -4 && p.y() < 5;
    return in_one || in_other;
  };
  const WantedRectangle wanted{{1, 1}, {2.5, 1}};
  const Placement near{{1, 1}, 1};
  const PlaneBox box{{0, -4}, {12, 5}};
  const Placement found = largestAnywhere(plane, box, in_rooms, wanted, near, 0.005);
  EXPECT_GT(found.scale, 4.5 / 1.005);
  EXPECT_LE(found.scale, 4.5);
  EXPECT_LE(wanted.leastScale(found.centre), found.scale);
  // One that is good enough stays.
  const Placement good{{7, 0.5}, 4.49};
  EXPECT_EQ(largestAnywhere(plane, box, in_rooms, wanted, good, 0.005).scale, 4.49);
  // Where nothing is inside, too.
  const auto nowhere = [](const Vector2d&) { return false; };
  EXPECT_EQ(largestAnywhere(plane, box, nowhere, wanted, near, 0.005).scale, 1);
}

TEST(LargestClear, FromACurveItself) {
  const ClearPlane plane = polygon({{0, 0}, {2, 0}, {2, 2}, {0, 2}});
  EXPECT_LE(largestAround(plane, {2, 1}, {1, 1}).scale, 0);
}

TEST(Widened, TouchesAllSides) {
  const ClearPlane plane = polygon({{-4, -3}, {5, -3}, {5, 6}, {-4, 6}});
  const PlaneBox box = widened(plane, {{0, 0}, 1}, {1, 1});
  EXPECT_NEAR((box.low - Vector2d(-4, -3)).norm(), 0, 1e-12);
  EXPECT_NEAR((box.high - Vector2d(5, 6)).norm(), 0, 1e-12);
}

}  // namespace
}  // namespace norv::internal
