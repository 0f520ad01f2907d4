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
      is_usable_(!range.empty() && size_.minCoeff() > 0) {
  if (is_usable_) findSides();
}

/// From the rays of the border. What bends outwards between those looked at does so by less than
/// the margin that is added.
void WidestPicture::findSides() {
  constexpr double kMargin = 0.01;  // radians
  constexpr int kParts = 8;         // of each side
  Eigen::Array2d low = Eigen::Array2d::Zero();
  Eigen::Array2d high = Eigen::Array2d::Zero();
  for (int i = 0; i <= kParts; ++i) {
    const Eigen::Vector2d along = size_ * i / kParts;
    for (const Eigen::Vector2d& pixel :
         {Eigen::Vector2d(along.x(), 0), Eigen::Vector2d(along.x(), size_.y()),
          Eigen::Vector2d(0, along.y()), Eigen::Vector2d(size_.x(), along.y())}) {
      const Eigen::Array2d ray = lens_.rectify(pixel);
      if (!ray.isFinite().all()) return;
      low = low.min(ray);
      high = high.max(ray);
    }
  }
  const Eigen::Array2d first = (low.atan() - kMargin).max(-kPi / 2);
  const Eigen::Array2d last = (high.atan() + kMargin).min(kPi / 2);
  sides_ << -std::cos(first.x()), 0, std::sin(first.x()),  //
      std::cos(last.x()), 0, -std::sin(last.x()),          //
      0, -std::cos(first.y()), std::sin(first.y()),        //
      0, std::cos(last.y()), -std::sin(last.y());
}

double WidestPicture::gapTo(const Eigen::Vector3d& in_camera) {
  Eigen::Vector2d pixel;
  if (!lens_.project(in_camera, &pixel)) return 2 - in_camera.z() / in_camera.norm();
  const double pixels = std::max((-pixel).maxCoeff(), (pixel - size_).maxCoeff());
  const double gap = pixels / lens_.focalLength();
  return gap > 0 ? gap / (1 + gap) : gap;
}

}  // namespace norv::internal
