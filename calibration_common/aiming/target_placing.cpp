#include "calibration_common/aiming/target_placing.h"

#include <Eigen/Geometry>
#include <array>

namespace norv::internal {
namespace {

using calibration::AimFailure;
using calibration::AimRequest;
using calibration::BoxTarget;
using calibration::PixelTarget;
using calibration::PointsTarget;
using calibration::PointTarget;
using calibration::PTZCameraModel;
using calibration::SphereTarget;
using Eigen::Vector2d;
using Eigen::Vector3d;

/// The camera at the present position, for rays from its pixels.
class PresentCamera {
 public:
  PresentCamera(const PTZCameraModel& model, const AimRequest& request)
      : lens_(model, request.now.zoom),
        world_from_camera_(widened(model.getPanTiltModel()
                                       .getFullTransform(static_cast<float>(request.now.pan),
                                                         static_cast<float>(request.now.tilt))
                                       .inverse)) {}

  const Vector3d& centre() const { return world_from_camera_.translation; }  ///< metres

  bool hasLens() const { return lens_.isUsable(); }

  /// The point at a pixel, metres; NaN where there is none.
  Vector3d pointAt(const Vector2d& pixel, double distance) {
    const Vector3d ray = world_from_camera_.rotation * lens_.rectify(pixel).homogeneous();
    return world_from_camera_.translation + distance * ray.normalized();
  }

 private:
  FrozenLens lens_;
  HeadPose world_from_camera_;
};

PlacedTarget placed(const TargetOutline& outline) { return {outline, AimFailure::kNone}; }

class TargetPlacing {
 public:
  TargetPlacing(const PTZCameraModel& model, const AimRequest& request)
      : model_(model), request_(request) {}

  PlacedTarget operator()(const PointTarget& target) const {
    return placed(TargetOutline(target.point));
  }
  PlacedTarget operator()(const PointsTarget& target) const {
    return placed(TargetOutline(target));
  }
  PlacedTarget operator()(const SphereTarget& target) const {
    const PresentCamera camera(model_, request_);
    if (target.radius > 0 && (target.centre - camera.centre()).norm() <= target.radius) {
      return {std::nullopt, AimFailure::kInvalidRequest};
    }
    return placed(TargetOutline(target));
  }

  PlacedTarget operator()(const PixelTarget& target) const {
    PresentCamera camera(model_, request_);
    if (!camera.hasLens()) return {std::nullopt, AimFailure::kNoPresentLens};
    const Vector3d point = camera.pointAt(target.pixel, target.distance);
    if (!point.allFinite()) return {std::nullopt, AimFailure::kNoRay};
    return placed(TargetOutline(point));
  }

  PlacedTarget operator()(const BoxTarget& target) const {
    PresentCamera camera(model_, request_);
    if (!camera.hasLens()) return {std::nullopt, AimFailure::kNoPresentLens};
    const Vector2d& a = target.corner;
    const Vector2d& b = target.opposite;
    const Vector2d pixels[] = {a, {b.x(), a.y()}, b, {a.x(), b.y()}};
    std::array<Vector3d, TargetOutline::kMaxOwnPoints> corners;
    for (std::size_t i = 0; i < corners.size(); ++i) {
      corners[i] = camera.pointAt(pixels[i], target.distance);
      if (!corners[i].allFinite()) return {std::nullopt, AimFailure::kNoRay};
    }
    return placed(TargetOutline(corners));
  }

 private:
  const PTZCameraModel& model_;
  const AimRequest& request_;
};

}  // namespace

PlacedTarget placeTarget(const PTZCameraModel& model, const AimRequest& request) {
  return std::visit(TargetPlacing(model, request), request.target);
}

}  // namespace norv::internal
