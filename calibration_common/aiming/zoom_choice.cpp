#include "calibration_common/aiming/zoom_choice.h"

#include <Eigen/Geometry>
#include <algorithm>
#include <cmath>

#include "calibration_common/aiming/zoom_search.h"

namespace norv::internal {
namespace {

using calibration::AimZoom;
using calibration::MotorBound;
using Eigen::Vector2d;
using Eigen::Vector3d;

/// Radians; NaN where no ray is imaged at a border.
double fieldOfView(FrozenLens* lens, const Vector2d& size) {
  const Vector3d left = lens->rectify({0, 0.5 * size.y()}).homogeneous();
  const Vector3d right = lens->rectify({size.x(), 0.5 * size.y()}).homogeneous();
  return std::atan2(left.cross(right).norm(), left.dot(right));
}

/// A lens by how long it is.
struct Length {
  double focal_length;
  /// The focal length over the wanted one, or for fields of view the like of it: 0 for those that
  /// are larger than the lens knows.
  double ratio;
  double error;  ///< of the focal length, pixels, or the field of view, radians
};

Length lengthAt(const AimTask& task, int zoom) {
  FrozenLens lens(task.model, zoom);
  const double wanted = task.request.zoom_value;
  const double focal_length = lens.focalLength();
  if (task.request.zoom == AimZoom::kFocalLength) {
    return {focal_length, focal_length / wanted, std::abs(focal_length - wanted)};
  }
  const double view = fieldOfView(&lens, task.size);
  if (std::isnan(view)) return {focal_length, 0, std::abs(wanted) + 4};
  return {focal_length, std::tan(0.5 * wanted) / std::tan(0.5 * view), std::abs(view - wanted)};
}

}  // namespace

ChosenZoom keepZoom(const calibration::ZoomRange& zooms, int now) {
  if (now < zooms.lowest) return {zooms.lowest, MotorBound::kLowest};
  if (now > zooms.highest) return {zooms.highest, MotorBound::kHighest};
  return {now, MotorBound::kNone};
}

ChosenZoom chooseZoom(const AimTask& task) {
  const ZoomScale scale(task.model, task.zooms);
  ZoomSearch search(scale, task.request.now.zoom);
  double held_error = 0;
  double lost_error = 0;
  while (!search.isDone()) {
    const Length length = lengthAt(task, search.zoom());
    (length.ratio <= 1 ? held_error : lost_error) = length.error;
    search.tell(length.ratio, length.focal_length);
  }
  const auto errorAt = [&](std::int64_t index) {
    return lengthAt(task, scale.zoomAt(index)).error;
  };
  const auto differenceOf = [&](std::int64_t a, std::int64_t b) {
    return std::abs(errorAt(a) - errorAt(b));
  };
  const std::int64_t held = search.held();
  const std::int64_t last = scale.last();
  // Beyond an end, the next step would come nearer once half a step is missing.
  if (held < 0) {
    const bool is_bound = last == 0 || errorAt(0) > 0.5 * differenceOf(0, 1);
    return {scale.zoomAt(0), is_bound ? scale.wideEnd() : MotorBound::kNone};
  }
  if (held == last) {
    const double error = errorAt(last);
    const bool is_bound = error > 0 && (last == 0 || error > 0.5 * differenceOf(last - 1, last));
    return {scale.zoomAt(last), is_bound ? scale.longEnd() : MotorBound::kNone};
  }
  return {scale.zoomAt(held_error <= lost_error ? held : held + 1), MotorBound::kNone};
}

}  // namespace norv::internal
