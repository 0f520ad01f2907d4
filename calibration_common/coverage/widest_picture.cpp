#include "calibration_common/coverage/widest_picture.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "support/numeric/angles.h"

namespace norv::internal {

using calibration::PTZCameraModel;
using calibration::ZoomRange;

namespace {

/// The zoom within a range at which the focal length is shortest. It is linear between two samples,
/// so that this is an end of the range or beside a place where the samples change.
int widestZoom(const PTZCameraModel& model, const ZoomRange& range) {
  if (range.empty()) return range.lowest;
  int widest = range.lowest;
  double shortest = FrozenLens(model, widest).focalLength();
  const auto look = [&](std::int64_t zoom) {
    if (zoom <= range.lowest || zoom > range.highest) return;
    const double focal_length = FrozenLens(model, static_cast<int>(zoom)).focalLength();
    if (!(focal_length < shortest)) return;
    widest = static_cast<int>(zoom);
    shortest = focal_length;
  };
  const calibration::PTZIntrinsicsTable& table = model.getParams().intrinsics();
  for (std::int64_t i = 0; i < table.samples_size(); ++i) {
    const std::int64_t change = table.zoom_start() + i * table.zoom_interval();
    for (const int step : {-1, 0, 1}) look(change + step);
  }
  look(range.highest);
  return widest;
}

}  // namespace

WidestPicture::WidestPicture(const PTZCameraModel& model)
    : WidestPicture(model, zoomRange(model)) {}

WidestPicture::WidestPicture(const PTZCameraModel& model, const ZoomRange& range)
    : lens_(model, widestZoom(model, range)),
      size_(model.getParams().intrinsics().image_width(),
            model.getParams().intrinsics().image_height()),
      is_usable_(!range.empty() && size_.minCoeff() > 0),
      half_angle_(is_usable_ ? findHalfAngle() : 0) {}

/// Of the farthest of the picture's corners. Distortion bends the sides between them outwards by
/// less than the margin that is added; half a turn where a corner has no ray.
double WidestPicture::findHalfAngle() {
  constexpr double kMargin = 0.1;
  double angle = 0;
  for (const double x : {0.0, size_.x()}) {
    for (const double y : {0.0, size_.y()}) {
      const double radius = lens_.rectify({x, y}).norm();
      if (std::isnan(radius)) return kPi;
      angle = std::max(angle, std::atan(radius) + kMargin);
    }
  }
  return angle;
}

double WidestPicture::gapTo(const Eigen::Vector3d& in_camera) {
  Eigen::Vector2d pixel;
  if (!lens_.project(in_camera, &pixel)) return 2 - in_camera.z() / in_camera.norm();
  const double pixels = std::max((-pixel).maxCoeff(), (pixel - size_).maxCoeff());
  const double gap = pixels / lens_.focalLength();
  return gap > 0 ? gap / (1 + gap) : gap;
}

double angleFromAxis(const Eigen::Vector3d& in_camera) {
  return std::atan2(in_camera.head<2>().norm(), in_camera.z());
}

}  // namespace norv::internal
