#pragma once

#include "support/camera_model.h"
#include "support/lens/newton_step.h"

namespace norv::internal {

/// A camera with what formulas for its points need to know in advance. Its lens is asked about by
/// squared radii of undistorted points.
struct PreparedCamera {
  calibration::CameraModel model;
  double width;  ///< of the image, pixels
  double height;
  NewtonStart start;
  /// Below it every ray lies on the first branch of the lens (`LensDomain`).
  double certain;
  /// From it on none does; NaN, which no radius reaches, where the branch never ends.
  double beyond;
  /// Up to it the plain Newton steps of `LensInverse::undistort` are its answer.
  double quick;
  /// 0, or NaN where a focal length is 0 or the numbers of the camera matrix or lens are not all in
  /// the range of float: then points have the status `kNotFinite`.
  double zero;

  bool isUsable() const { return zero == 0; }
};

/// Everything found out, for many points: takes microseconds. The other two leave out what the one
/// or the other does not need.
PreparedCamera prepare(const calibration::CameraModel& camera);
PreparedCamera prepareForProjection(const calibration::CameraModel& camera);
PreparedCamera prepareForRectification(const calibration::CameraModel& camera);

/// Nothing found out, for one point: each has to be asked about (`LensInverse::contains`).
PreparedCamera unprepared(const calibration::CameraModel& camera);

/// A pose in double precision, the top three rows of camera_from_parent.
struct PoseRows {
  double at[3][4];
};

}  // namespace norv::internal
