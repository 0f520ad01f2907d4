#include "support/camera/image_border.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

#include "support/camera/point_batches.h"
#include "support/numeric/infinity.h"

namespace norv::internal {

using Eigen::Vector2d;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// A side of the border, in pixels.
struct Side {
  Vector2d begin;
  Vector2d end;

  Vector2d at(double t) const { return (1 - t) * begin + t * end; }
};

/// Samples sides and adds what becomes of them.
class BorderMaker {
 public:
  BorderMaker(const PreparedCamera& camera, const ViewPlane& plane, double bend)
      : camera_(camera),
        plane_(plane),
        max_bend_(bend * std::max(std::abs(plane.fx), std::abs(plane.fy))) {}

  /// Adds a side in pieces of `kPieceIntervals`, of which the last few are those of the next piece
  /// too: so each extreme is in the middle of three neighbours somewhere.
  void add(const Side& side) {
    constexpr std::size_t kCommon = 8;
    constexpr std::size_t kStride = kPieceIntervals - kCommon;
    const std::size_t pieces = pieceCount((side.end - side.begin).norm(), kStride);
    const std::size_t intervals = pieces * kStride + kCommon;
    const PlaneCurve all = sampled(side, 0, 1, intervals);
    for (std::size_t i = 0; i < pieces; ++i) {
      const auto first = all.begin() + static_cast<std::ptrdiff_t>(i * kStride);
      const PlaneCurve piece(first, first + kPieceIntervals + 1);
      const std::size_t times = refinement(piece);
      if (times == 1) {
        border_.pieces.push_back(piece);
        continue;
      }
      const double size = 1 / static_cast<double>(intervals);
      const auto begin = static_cast<double>(i * kStride);
      border_.pieces.push_back(sampled(side, begin * size,
                                       (begin + static_cast<double>(kPieceIntervals)) * size,
                                       times * kPieceIntervals));
    }
  }

  ImageBorder take() { return std::move(border_); }

 private:
  /// Pieces of a side with samples at every half pixel; four at least, and no more than any view
  /// needs.
  static std::size_t pieceCount(double length, std::size_t stride) {
    const double count = std::ceil(2 * length / static_cast<double>(stride));
    return static_cast<std::size_t>(std::min(std::max(count, 4.0), 2000.0));
  }

  /// By how much the samples are too few for how the curve bends: second differences fall with the
  /// square of the distance.
  std::size_t refinement(const PlaneCurve& piece) const {
    constexpr double kMost = 32;
    double bend = 0;
    for (std::size_t i = 1; i + 1 < piece.size(); ++i) {
      const double here = (piece[i - 1] - 2 * piece[i] + piece[i + 1]).norm();
      if (here > bend) bend = here;
    }
    const double times = std::ceil(std::sqrt(bend / max_bend_));
    return static_cast<std::size_t>(std::min(std::max(times, 1.0), kMost));
  }

  /// The part of a side from `begin` to `end`, shares of it.
  PlaneCurve sampled(const Side& side, double begin, double end, std::size_t intervals) {
    PlaneCurve points(intervals + 1);
    for (std::size_t i = 0; i <= intervals; ++i) {
      const double t = static_cast<double>(i) / static_cast<double>(intervals);
      points[i] = side.at((1 - t) * begin + t * end);
    }
    // The rays take the pixels' place.
    double* const data = points.data()->data();
    rectifyBatch(camera_, {data, 2}, points.size(), {data, 2}, {}, 1);
    for (Vector2d& point : points) point = seen(point);
    return points;
  }

  Vector2d seen(const Vector2d& ray) {
    if (std::isnan(ray.x())) {
      border_.is_imaged = false;
    } else if (const auto point = plane_.pointOf(ray.x(), ray.y())) {
      return *point;
    } else {
      border_.is_in_front = false;
    }
    return {kNaN, kNaN};
  }

  const PreparedCamera& camera_;
  const ViewPlane& plane_;
  double max_bend_;
  ImageBorder border_;
};

/// The largest value of `sign` times a coordinate over the curve; between samples, that of the
/// parabola through three of them.
double extreme(const PlaneCurve& curve, int axis, double sign) {
  const auto at = [&](std::size_t i) { return sign * curve[i][axis]; };
  double most = std::max(at(0), at(curve.size() - 1));
  for (std::size_t i = 1; i + 1 < curve.size(); ++i) {
    const double before = at(i - 1);
    const double here = at(i);
    const double after = at(i + 1);
    if (here < before || here < after) continue;
    const double bend = 2 * here - before - after;
    const double rise = after - before;
    most = std::max(most, bend > 0 ? here + rise * rise / (8 * bend) : here);
  }
  return most;
}

}  // namespace

std::optional<Vector2d> ViewPlane::pointOf(double x, double y) const {
  const Eigen::Vector3d ray = view_from_camera * Eigen::Vector3d(x, y, 1);
  const Vector2d point(fx * (ray.x() / ray.z()), fy * (ray.y() / ray.z()));
  if (!(ray.z() > 0) || !point.allFinite()) return std::nullopt;
  return point;
}

Eigen::Vector3d ViewPlane::rayOf(const Vector2d& point) const {
  return view_from_camera.transpose() * Eigen::Vector3d(point.x() / fx, point.y() / fy, 1);
}

ImageBorder imageBorder(const PreparedCamera& camera, double margin, const ViewPlane& plane,
                        double bend) {
  const Vector2d low(margin, margin);
  const Vector2d high(camera.model.width - margin, camera.model.height - margin);
  const Vector2d upper_right(high.x(), low.y());
  const Vector2d lower_left(low.x(), high.y());
  BorderMaker maker(camera, plane, bend);
  maker.add({low, lower_left});
  maker.add({upper_right, high});
  maker.add({low, upper_right});
  maker.add({lower_left, high});
  return maker.take();
}

PlaneCurve circleOfRays(double radius, const ViewPlane& plane) {
  constexpr std::size_t kCount = 100 * kPieceIntervals;
  constexpr double kFullTurn = 6.283185307179586;
  PlaneCurve circle(kCount + 1, Vector2d(kNaN, kNaN));
  for (std::size_t i = 0; i <= kCount; ++i) {
    const double angle = kFullTurn * static_cast<double>(i % kCount) / kCount;
    const auto point = plane.pointOf(radius * std::cos(angle), radius * std::sin(angle));
    if (point) circle[i] = *point;
  }
  return circle;
}

PlaneBox boundingBox(const ImageBorder& border) {
  PlaneBox box{{kInfinity, kInfinity}, {-kInfinity, -kInfinity}};
  for (const PlaneCurve& piece : border.pieces) {
    for (const int axis : {0, 1}) {
      box.low[axis] = std::min(box.low[axis], -extreme(piece, axis, -1));
      box.high[axis] = std::max(box.high[axis], extreme(piece, axis, 1));
    }
  }
  return box;
}

}  // namespace norv::internal
