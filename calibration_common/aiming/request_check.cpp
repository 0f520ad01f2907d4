#include "calibration_common/aiming/request_check.h"

#include <cmath>

#include "calibration_common/aiming/motor_joint.h"
#include "support/numeric/angles.h"

namespace norv::internal {
namespace {

using namespace calibration;  // NOLINT(google-build-using-namespace)

bool isPositive(double value) { return value > 0 && std::isfinite(value); }

bool makesSense(const PixelTarget& target) {
  return target.pixel.allFinite() && isPositive(target.distance);
}

bool makesSense(const PointTarget& target) { return target.point.allFinite(); }

bool makesSense(const PointsTarget& target) {
  for (std::size_t i = 0; i < target.count; ++i) {
    for (const int c : {0, 1, 2}) {
      if (!std::isfinite(target.points.at(i, c))) return false;
    }
  }
  return target.count > 0;
}

bool makesSense(const BoxTarget& target) {
  return target.corner.allFinite() && target.opposite.allFinite() && isPositive(target.distance);
}

bool makesSense(const SphereTarget& target) {
  return target.centre.allFinite() && std::isfinite(target.radius) && target.radius >= 0;
}

/// Whether the target is a point, which fills nothing.
bool isPoint(const AimTarget& target) {
  if (const auto* points = std::get_if<PointsTarget>(&target)) return points->count == 1;
  if (const auto* sphere = std::get_if<SphereTarget>(&target)) return sphere->radius == 0;
  if (const auto* box = std::get_if<BoxTarget>(&target)) return box->corner == box->opposite;
  return std::holds_alternative<PixelTarget>(target) || std::holds_alternative<PointTarget>(target);
}

bool hasGoodZoom(const AimRequest& request) {
  const double value = request.zoom_value;
  switch (request.zoom) {
    case AimZoom::kKeep:
      return true;
    case AimZoom::kFill:
      return value > 0 && value <= 1 && !isPoint(request.target);
    case AimZoom::kFieldOfView:
      return value > 0 && value < kPi;
    case AimZoom::kFocalLength:
      return isPositive(value);
  }
  return false;
}

/// The place, as far as it does not depend on the zoom. What is to fill the picture must have a
/// place inside of it.
bool hasGoodPlace(const AimRequest& request, const PTZIntrinsicsTable& table) {
  if (request.place == AimPlace::kImageMiddle || request.place == AimPlace::kPrincipalPoint) {
    return true;
  }
  if (request.place != AimPlace::kPixel || !request.pixel.allFinite()) return false;
  if (request.zoom != AimZoom::kFill) return true;
  return request.pixel.x() > 0 && request.pixel.x() < table.image_width() &&
         request.pixel.y() > 0 && request.pixel.y() < table.image_height();
}

bool hasGoodChoice(const AimRequest& request) {
  return request.choice == AimChoice::kNearest || request.choice == AimChoice::kUpright ||
         request.choice == AimChoice::kNoFlip;
}

}  // namespace

AimFailure checkAim(const PTZCameraModel& model, const AimRequest& request) {
  const PTZIntrinsicsTable& table = model.getParams().intrinsics();
  if (!model.isValid() || table.image_width() <= 0 || table.image_height() <= 0 ||
      !panJoint(model, 0).turns() || !tiltJoint(model, 0).turns()) {
    return AimFailure::kInvalidModel;
  }
  const bool has_target = !request.target.valueless_by_exception() &&
                          std::visit([](const auto& t) { return makesSense(t); }, request.target);
  const bool is_good =
      has_target && hasGoodZoom(request) && hasGoodPlace(request, table) && hasGoodChoice(request);
  return is_good ? AimFailure::kNone : AimFailure::kInvalidRequest;
}

}  // namespace norv::internal
