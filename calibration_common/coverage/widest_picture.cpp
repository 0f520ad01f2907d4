#include "calibration_common/coverage/widest_picture.h"

#include <algorithm>
#include <cmath>

#include "support/numeric/angles.h"

namespace norv::internal {

using calibration::PTZCameraModel;
using calibration::ZoomRange;

WidestPicture::WidestPicture(const PTZCameraModel& model)
    : WidestPicture(model, zoomRange(model)) {}

WidestPicture::WidestPicture(const PTZCameraModel& model, const ZoomRange& range)
    : lens_(model, range.lowest),
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
