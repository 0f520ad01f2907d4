#pragma once

/// The chain of a pan-tilt head at angles between whole steps.

#include <Eigen/Core>

#include "calibration_common/pan_tilt_model.h"

namespace norv::internal {

/// camera_from_base in double precision, metres.
struct HeadPose {
  Eigen::Matrix3d rotation;
  Eigen::Vector3d translation;

  Eigen::Vector3d operator*(const Eigen::Vector3d& point) const {
    return rotation * point + translation;
  }
};

/// The pose as it is stored, in single precision.
HeadPose widened(const Matrix4x4_f& pose);

/// Angles of the two joints, radians.
struct JointAngles {
  double pan;
  double tilt;
};

/// A point of the camera frame, and how it moves with the angles.
struct MovingPoint {
  Eigen::Vector3d at;
  Eigen::Vector3d by_pan;
  Eigen::Vector3d by_tilt;
};

/// The chain of `PanTiltModel::getFullTransform`, and one point of the base frame in it.
class HeadChain {
 public:
  HeadChain(const calibration::PanTiltModel& head, const Eigen::Vector3d& point);

  /// The point, base frame; one that is beside the pan axis only by what single precision hides,
  /// on the axis, so that the pan is free.
  Eigen::Vector3d pointOrOnAxis() const;

  HeadPose poseAt(const JointAngles& angles) const;

  /// The point at two angles.
  MovingPoint pointAt(const JointAngles& angles) const;

  /// The tilt, with the pan as it is, at which the point is seen nearest to the direction `ray` of
  /// the camera frame; and the pan, with the tilt as it is. Where every angle will do, since the
  /// point or the ray lies along the axis, that of `angles`.
  double bestTilt(const JointAngles& angles, const Eigen::Vector3d& ray) const;
  double bestPan(const JointAngles& angles, const Eigen::Vector3d& ray) const;

 private:
  HeadPose pan_from_base_;
  HeadPose tilt_from_pan_;
  HeadPose camera_from_tilt_;
  Eigen::Vector3d point_;
  Eigen::Vector3d point_in_pan_;
};

/// Cosine of the angle between a point and a direction.
double cosineBetween(const Eigen::Vector3d& point, const Eigen::Vector3d& ray);

/// How that cosine changes as the point moves, but for the length of `ray`.
double cosineSlope(const Eigen::Vector3d& point, const Eigen::Vector3d& motion,
                   const Eigen::Vector3d& ray);

}  // namespace norv::internal
