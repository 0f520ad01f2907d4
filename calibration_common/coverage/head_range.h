#pragma once

/// A pan-tilt head in double precision, and the angles that its motors reach.

#include <Eigen/Core>

#include "calibration_common/pan_tilt_model.h"

namespace norv::internal {

/// Angles of a joint, radians, from the one end of its motor's range to the other.
struct AngleRange {
  double low;
  double high;

  /// Whether the joint comes round to every direction.
  bool isFull() const;
  /// Whether `angle` or one that differs by full turns is within, apart from rounding.
  bool reaches(double angle) const;
  double middle() const { return 0.5 * (low + high); }
};

/// What both motors reach. A limit that is absent is that of int, in which positions are stated;
/// where a minimum exceeds its maximum the maximum wins, as in `limitToMotorRange`. Not finite
/// where a scale or an offset is not.
struct HeadRange {
  AngleRange pan;
  AngleRange tilt;

  bool isFinite() const;
};

HeadRange headRange(const calibration::PanTiltSystemParameters& head);

/// The poses of a head as its model holds them.
struct JointFrames {
  Eigen::Matrix3d pan_turn;  ///< pan_from_base, as the next
  Eigen::Vector3d pan_shift;
  Eigen::Matrix3d tilt_turn;  ///< tilt_from_pan
  Eigen::Vector3d tilt_shift;
  Eigen::Matrix3d camera_turn;  ///< camera_from_tilt
  Eigen::Vector3d camera_shift;

  /// A point of the base frame in that of the pan joint, at its zero.
  Eigen::Vector3d inPan(const Eigen::Vector3d& point) const { return pan_turn * point + pan_shift; }
  /// One of the pan joint, turned by `pan`, in that of the tilt joint.
  Eigen::Vector3d inTilt(const Eigen::Vector3d& in_pan, double pan) const;
  /// One of the tilt joint, turned by `tilt`, in that of the camera.
  Eigen::Vector3d inCamera(const Eigen::Vector3d& in_tilt, double tilt) const;

  /// The point of the pan axis that is nearest to the tilt axis, in the base frame; NaN where the
  /// two are parallel.
  Eigen::Vector3d turningPoint() const;
};

JointFrames jointFrames(const calibration::PanTiltModel& model);

}  // namespace norv::internal
