#pragma once

#include <Eigen/Core>

#include "calibration_common/aiming/frozen_lens.h"
#include "calibration_common/ptz_aiming.h"
#include "calibration_common/ptz_camera_model.h"

namespace norv::internal {

/// The picture at the zoom of a camera's range with the shortest focal length, which shows most,
/// and how points lie to it. Not thread-safe: it keeps what it finds out of the lens.
class WidestPicture {
 public:
  /// Of a model that has samples.
  explicit WidestPicture(const calibration::PTZCameraModel& model);

  /// Whether there is such a zoom, and a size of the image.
  bool isUsable() const { return is_usable_; }

  /// For a point of the camera frame: at most 0 in the picture, its border included; outside of it
  /// rising to 1 with the distance; where the lens does not image the point, from 1 to 3 with its
  /// angle from the optical axis.
  double gapTo(const Eigen::Vector3d& in_camera);

  /// Angle from the optical axis within which the whole picture lies, radians.
  double halfAngle() const { return half_angle_; }

 private:
  WidestPicture(const calibration::PTZCameraModel& model, const calibration::ZoomRange& range);
  double findHalfAngle();

  FrozenLens lens_;
  Eigen::Vector2d size_;
  bool is_usable_;
  double half_angle_;
};

/// Angle of a point of the camera frame from the optical axis, radians.
double angleFromAxis(const Eigen::Vector3d& in_camera);

}  // namespace norv::internal
