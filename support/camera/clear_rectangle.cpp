#include "support/camera/clear_rectangle.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "support/numeric/infinity.h"

namespace norv::internal {
namespace {

using Eigen::Vector2d;

/// Four linear functions' values at one end of a chord: for a point outside of the rectangle with
/// scale z the largest exceeds z.
using SideValues = std::array<double, 4>;

double largest(const SideValues& values) { return *std::max_element(values.begin(), values.end()); }

SideValues sideValues(const Vector2d& offset, const Reach& reach) {
  return {offset.x() / reach.above.x(), -offset.x() / reach.below.x(), offset.y() / reach.above.y(),
          -offset.y() / reach.below.y()};
}

SideValues mixed(const SideValues& begin, const SideValues& end, double t) {
  SideValues result;
  for (std::size_t k = 0; k < 4; ++k) result[k] = begin[k] + t * (end[k] - begin[k]);
  return result;
}

/// A lower bound of `leastOfLargest`.
double largestOfLeast(const SideValues& begin, const SideValues& end) {
  double result = -kInfinity;
  for (std::size_t k = 0; k < 4; ++k) result = std::max(result, std::min(begin[k], end[k]));
  return result;
}

/// The minimum over the chord of the largest of the values. That is convex, and its minimum lies at
/// an end or where two of them are equal.
double leastOfLargest(const SideValues& begin, const SideValues& end) {
  double least = std::min(largest(begin), largest(end));
  for (std::size_t j = 0; j < 4; ++j) {
    for (std::size_t k = 0; k < j; ++k) {
      const double t = (begin[k] - begin[j]) / ((end[j] - begin[j]) - (end[k] - begin[k]));
      if (t > 0 && t < 1) least = std::min(least, largest(mixed(begin, end, t)));
    }
  }
  return least;
}

/// Second difference at the middle one of three neighbours; 0 where there are not three.
double secondDifference(const PlaneCurve& curve, std::size_t middle) {
  if (middle == 0 || middle + 1 >= curve.size()) return 0;
  const Vector2d difference = curve[middle - 1] - 2 * curve[middle] + curve[middle + 1];
  return difference.allFinite() ? difference.norm() : 0;
}

/// The part of [0, 1] at which begin + t (end - begin) lies in `strip`; empty, with low above high,
/// where there is none.
Range partInStrip(double begin, double end, const Range& strip) {
  if (std::max(begin, end) <= strip.low || std::min(begin, end) >= strip.high) return {1, 0};
  const auto reaches = [&](double limit) { return (limit - begin) / (end - begin); };
  const bool rises = begin < end;
  const double first = rises ? strip.low : strip.high;
  const double last = rises ? strip.high : strip.low;
  const bool begins_inside = rises ? begin >= first : begin <= first;
  const bool ends_inside = rises ? end <= last : end >= last;
  return {begins_inside ? 0 : reaches(first), ends_inside ? 1 : reaches(last)};
}

Reach sameReach(const Vector2d& half) { return {half, half}; }

/// Share of a rectangle's size by which curves may reach into it and only touch it.
constexpr double kTouching = 1e-9;

/// The strip of a coordinate that the rectangle fills, without what only touches it.
Range insideOf(const Placement& p, const Vector2d& half, int axis) {
  const double extent = (1 - kTouching) * p.scale * half[axis];
  return {p.centre[axis] - extent, p.centre[axis] + extent};
}

double limited(double value, double low, double high) {
  return std::max(low, std::min(value, high));
}

/// Moved to the middle of what is clear along x and along y, in turn, as long as that changes it.
Placement centred(const ClearPlane& plane, const WantedRectangle& wanted, Placement p) {
  constexpr double kGain = 1e-9;
  constexpr double kMove = 1e-6;
  constexpr int kMaxRounds = 20;
  const Vector2d& half = wanted.half;
  for (int i = 0; i < kMaxRounds; ++i) {
    Placement next = p;
    for (const int axis : {0, 1}) {
      const Range clear = plane.clearRange(axis, next.centre[axis], insideOf(next, half, 1 - axis));
      const double farthest = p.scale * half[axis];
      next.centre[axis] =
          limited(clear.middle(), wanted.shown[axis] - farthest, wanted.shown[axis] + farthest);
    }
    next.scale = plane.clearScale(next.centre, sameReach(half));
    // Having been moved along y it may have room along x again.
    const double move = (next.centre - p.centre).cwiseQuotient(half).lpNorm<Eigen::Infinity>();
    const bool is_done = move < kMove * p.scale && next.scale < p.scale * (1 + kGain);
    // What only touches counts as clear.
    if (next.scale >= p.scale * (1 - 2 * kTouching)) p = next;
    if (is_done) break;
  }
  return p;
}

/// The best of the rectangles with centres around that of `p`, and within it.
Placement bestAround(const ClearPlane& plane, const WantedRectangle& wanted, const Placement& p,
                     double step) {
  constexpr int kDirections = 16;
  constexpr double kFullTurn = 6.283185307179586;
  Placement best = p;
  for (int i = 0; i < kDirections; ++i) {
    const double angle = kFullTurn * i / kDirections;
    const Vector2d move = Vector2d(std::cos(angle), std::sin(angle)).cwiseProduct(wanted.half);
    const Vector2d centre = p.centre + step * p.scale * move;
    const double scale = plane.clearScale(centre, sameReach(wanted.half));
    if (scale > best.scale && scale >= wanted.leastScale(centre)) best = {centre, scale};
  }
  return best;
}

/// Compass search: where the rectangle's sides are blocked by oblique curves, moves along x and y
/// alone would get stuck. (Kolda, Lewis and Torczon, Optimization by direct search, SIAM Review 45,
/// 2003.)
Placement searched(const ClearPlane& plane, const WantedRectangle& wanted, Placement p) {
  constexpr double kMinStep = 1e-4;
  constexpr int kMaxMoves = 300;
  double step = 0.5;
  for (int i = 0; i < kMaxMoves && step > kMinStep; ++i) {
    const Placement next = bestAround(plane, wanted, p, step);
    if (next.scale > p.scale * (1 + 1e-3 * step)) {
      p = next;
    } else {
      step *= 0.5;
    }
  }
  return p;
}

}  // namespace

void ClearPlane::add(const PlaneCurve& curve) {
  // Half as much again as an arc needs: the curvature changes from sample to sample.
  constexpr double kSagitta = 1.5 / 8;
  for (std::size_t i = 0; i + 1 < curve.size(); ++i) {
    if (!curve[i].allFinite() || !curve[i + 1].allFinite()) continue;
    const double bend = std::max(secondDifference(curve, i), secondDifference(curve, i + 1));
    chords_.push_back({curve[i], curve[i + 1], kSagitta * bend});
  }
}

double ClearPlane::clearScale(const Vector2d& anchor, const Reach& reach) const {
  const double shortest = std::min(reach.below.minCoeff(), reach.above.minCoeff());
  double scale = kInfinity;
  for (const Chord& chord : chords_) {
    const SideValues begin = sideValues(chord.begin - anchor, reach);
    const SideValues end = sideValues(chord.end - anchor, reach);
    const double slack = chord.sagitta / shortest;
    if (largestOfLeast(begin, end) - slack >= scale) continue;
    scale = std::min(scale, leastOfLargest(begin, end) - slack);
  }
  return scale;
}

Range ClearPlane::clearRange(int axis, double at, const Range& strip) const {
  Range clear{-kInfinity, kInfinity};
  for (const Chord& chord : chords_) {
    const Range wide{strip.low - chord.sagitta, strip.high + chord.sagitta};
    const Range part = partInStrip(chord.begin[1 - axis], chord.end[1 - axis], wide);
    if (part.low > part.high) continue;
    const auto along = [&](double t) {
      return chord.begin[axis] + t * (chord.end[axis] - chord.begin[axis]);
    };
    const double first = along(part.low);
    const double last = along(part.high);
    if (first + last > 2 * at) {
      clear.high = std::min(clear.high, std::min(first, last) - chord.sagitta);
    } else {
      clear.low = std::max(clear.low, std::max(first, last) + chord.sagitta);
    }
  }
  return clear;
}

Placement largestClear(const ClearPlane& plane, const ClearPlane& coarse,
                       const WantedRectangle& wanted, const Vector2d& start) {
  const auto at = [&](const ClearPlane& p, const Vector2d& centre) {
    return Placement{centre, p.clearScale(centre, sameReach(wanted.half))};
  };
  Placement p = at(plane, start);
  // Closer to a curve than its samples tell: there is nothing to grow from.
  if (!(p.scale > 0)) return p;
  const Placement rough = at(coarse, start);
  if (rough.scale > 0 && rough.scale >= wanted.leastScale(start)) {
    const Placement search = searched(coarse, wanted, centred(coarse, wanted, rough));
    const Placement found = at(plane, search.centre);
    if (found.scale > p.scale * (1 + 1e-9)) p = found;
  }
  return centred(plane, wanted, p);
}

PlaneBox widened(const ClearPlane& plane, const Placement& p, const Vector2d& half) {
  const Range x = plane.clearRange(0, p.centre.x(), insideOf(p, half, 1));
  const double touching = kTouching * (x.high - x.low);
  const Range inside{x.low + touching, x.high - touching};
  const Range y = plane.clearRange(1, p.centre.y(), inside);
  return {{x.low, y.low}, {x.high, y.high}};
}

}  // namespace norv::internal
