#include "support/camera/valid_region.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "support/camera/point_solver.h"
#include "support/camera/rectangle_search.h"
#include "support/lens_validity.h"
#include "support/numeric/infinity.h"

namespace norv::internal {

using calibration::PointStatus;
using Eigen::Vector2d;

namespace {

/// Focal lengths from the axis to which rectangles may reach, and from which curves are left out:
/// from sample to sample they do not get from one to the other.
constexpr double kFarthest = 50;
constexpr double kOutOfSight = 100;

/// Every eighth sample: intervals come in multiples of it.
PlaneCurve thinned(const PlaneCurve& curve) {
  constexpr std::size_t kEvery = 8;
  static_assert(kPieceIntervals % kEvery == 0, "samples at equal distances");
  PlaneCurve result;
  result.reserve(curve.size() / kEvery + 1);
  for (std::size_t i = 0; i < curve.size(); i += kEvery) result.push_back(curve[i]);
  return result;
}

Vector2d scaledAbsolute(const ViewPlane& plane, double scale) {
  return scale * Vector2d(std::abs(plane.fx), std::abs(plane.fy));
}

}  // namespace

ValidRegion::ValidRegion(const PreparedCamera& camera, double margin, const ViewPlane& plane)
    : camera_(camera),
      margin_(margin),
      plane_(plane),
      box_{Vector2d::Constant(kInfinity), Vector2d::Constant(-kInfinity)} {
  // Chords are then off by 4e-7 focal lengths.
  const ImageBorder border = imageBorder(camera, margin, plane, 2e-6);
  for (const PlaneCurve& piece : border.pieces) keepClearOf(piece);
  if (!border.is_imaged) {
    // Off the very end, where the last rounding decides.
    radius_ = (1 - 1e-9) * calibration::validRadius(camera.model.lens);
    keepClearOf(circleOfRays(radius_, plane));
  }
  keepWithinSight();
}

void ValidRegion::keepClearOf(PlaneCurve curve) {
  const Vector2d limit = scaledAbsolute(plane_, kOutOfSight);
  for (Vector2d& point : curve) {
    if (!(point.cwiseAbs().array() <= limit.array()).all()) {
      point.setConstant(std::numeric_limits<double>::quiet_NaN());
      continue;
    }
    box_.low = box_.low.cwiseMin(point);
    box_.high = box_.high.cwiseMax(point);
  }
  outlines_.add(curve);
  coarse_.add(thinned(curve));
}

void ValidRegion::keepWithinSight() {
  const Vector2d limit = scaledAbsolute(plane_, kFarthest);
  box_.low = box_.low.cwiseMax(-limit);
  box_.high = box_.high.cwiseMin(limit);
  const Vector2d other(limit.x(), -limit.y());
  for (const PlaneCurve& side : {PlaneCurve{limit, other}, PlaneCurve{other, -limit},
                                 PlaneCurve{-limit, -other}, PlaneCurve{-other, limit}}) {
    outlines_.add(side);
    coarse_.add(side);
  }
}

bool ValidRegion::contains(const Vector2d& point) const {
  const Eigen::Vector3d ray = plane_.rayOf(point);
  const PointAnswer pixel = PointSolver(camera_).project(nullptr, {ray.x(), ray.y(), ray.z()});
  const calibration::CameraModel& model = camera_.model;
  return pixel.status == PointStatus::kOk && pixel.x > margin_ && pixel.y > margin_ &&
         pixel.x < model.width - margin_ && pixel.y < model.height - margin_ &&
         ray.head<2>().norm() < radius_ * ray.z() &&
         (point.cwiseAbs().array() < scaledAbsolute(plane_, kFarthest).array()).all();
}

std::optional<Vector2d> ValidRegion::middle() const {
  const calibration::CameraModel& model = camera_.model;
  const PointAnswer ray = PointSolver(camera_).rectify(0.5 * model.width, 0.5 * model.height);
  for (const Vector2d& candidate : {Vector2d(ray.x, ray.y), Vector2d(0, 0)}) {
    auto point = plane_.pointOf(candidate.x(), candidate.y());
    if (point && contains(*point)) return point;
  }
  return std::nullopt;
}

Placement ValidRegion::largest(const Vector2d& half) const {
  constexpr double kTolerance = 0.005;
  const auto shown = middle();
  if (!shown) return {{0, 0}, 0};
  const WantedRectangle wanted{half, *shown};
  Placement near = largestClear(outlines_, coarse_, wanted, *shown);
  if ((box_.low.array() > box_.high.array()).any()) return near;
  const auto is_inside = [this](const Vector2d& point) { return contains(point); };
  const Placement far = largestAnywhere(coarse_, box_, is_inside, wanted, near, kTolerance);
  if (far.centre == near.centre) return near;
  const Placement found = largestClear(outlines_, coarse_, wanted, far.centre);
  return found.scale > near.scale ? found : near;
}

std::optional<PlaneBox> ValidRegion::widest(const Vector2d& half) const {
  const Placement placement = largest(half);
  if (!(placement.scale > 0)) return std::nullopt;
  return widened(outlines_, placement, half);
}

double ValidRegion::scaleAbout(const Vector2d& anchor, const Reach& reach) const {
  return contains(anchor) ? outlines_.clearScale(anchor, reach) : 0;
}

}  // namespace norv::internal
