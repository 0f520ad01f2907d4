#include "calibration_common/aiming/target_outline.h"

#include "calibration_common/aiming/sphere_outline.h"

namespace norv::internal {

using Eigen::Vector2d;
using Eigen::Vector3d;

TargetOutline::TargetOutline(const Vector3d& point) : anchor_(point) { own_[0] = point; }

TargetOutline::TargetOutline(const std::array<Vector3d, kMaxOwnPoints>& corners)
    : anchor_(0.25 * ((corners[0] + corners[1]) + (corners[2] + corners[3]))),
      count_(kMaxOwnPoints),
      own_(corners) {}

TargetOutline::TargetOutline(const calibration::PointsTarget& points)
    : count_(points.count), others_(points) {
  Vector3d low = pointAt(0);
  Vector3d high = low;
  for (std::size_t i = 1; i < count_; ++i) {
    low = low.cwiseMin(pointAt(i));
    high = high.cwiseMax(pointAt(i));
  }
  anchor_ = 0.5 * low + 0.5 * high;
}

TargetOutline::TargetOutline(const calibration::SphereTarget& sphere)
    : anchor_(sphere.centre), radius_(sphere.radius) {
  own_[0] = sphere.centre;
}

Vector3d TargetOutline::pointAt(std::size_t i) const {
  if (!others_) return own_[i];
  const auto& points = others_->points;
  return {points.at(i, 0), points.at(i, 1), points.at(i, 2)};
}

[[gnu::flatten]] Cover TargetOutline::coverIn(const HeadPose& camera_from_base,
                                              FrozenLens* lens) const {
  if (radius_ > 0) return sphereCover(camera_from_base * anchor_, radius_, lens);
  Cover cover;
  for (std::size_t i = 0; i < count_; ++i) {
    Vector2d pixel;
    if (lens->project(camera_from_base * pointAt(i), &pixel)) {
      cover.add(pixel);
    } else {
      cover.is_whole = false;
    }
  }
  return cover;
}

}  // namespace norv::internal
