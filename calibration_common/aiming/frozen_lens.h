#pragma once

/// The lens of a pan-tilt-zoom camera at one zoom position.

#include <Eigen/Core>

#include "calibration_common/ptz_camera_model.h"
#include "support/lens/lens_inverse.h"

namespace norv::internal {

/// The lens that `PTZCameraModelConfiguration` has at a zoom position, its numbers rounded to
/// single precision as there, its formulas in double.
///
/// Not thread-safe: what is found out about the lens is kept.
class FrozenLens {
 public:
  /// The lens at `zoom`, steps, of a model that has samples.
  FrozenLens(const calibration::PTZCameraModel& model, int zoom);

  /// Whether all of its numbers are finite and the focal length is positive.
  bool isUsable() const;

  double focalLength() const { return focal_length_; }  ///< pixels
  const Eigen::Vector2d& principalPoint() const { return principal_point_; }

  /// Writes the pixel of a point of the camera frame, unless the point is behind the camera or
  /// beyond the first branch of the lens; whether it was written. The inverse is `rectify`.
  bool project(const Eigen::Vector3d& point, Eigen::Vector2d* pixel) {
    if (!(point.z() > 0)) return false;
    const LensInverse::Point ray = {point.x() / point.z(), point.y() / point.z()};
    if (!isImaged(ray)) return false;
    const LensInverse::Point at = lens_.distort(ray);
    pixel->x() = focal_length_ * at.x + principal_point_.x();
    pixel->y() = focal_length_ * at.y + principal_point_.y();
    return true;
  }

  /// The ray (x/z, y/z) that is imaged at `pixel`; NaN where there is none.
  Eigen::Vector2d rectify(const Eigen::Vector2d& pixel);

  /// Where `ray` has to go, to first order, for its pixel to move by `shift`.
  Eigen::Vector2d movedRay(const Eigen::Vector2d& ray, const Eigen::Vector2d& shift) const;

 private:
  explicit FrozenLens(const struct ZoomLens& blend);

  bool isImaged(const LensInverse::Point& ray);

  double focal_length_;
  Eigen::Vector2d principal_point_;
  calibration::LensDistortion<double> lens_;
  LensInverse inverse_;
  double certain_ = 0;  ///< squared radius up to which the first branch is known to reach
};

}  // namespace norv::internal
