#pragma once

/// Poses in double precision, as other programs' files hold them.

#include <Eigen/Core>

namespace norv::interop {

/// A pose that maps points of one frame into another, p_to = rotation p_from + translation. The
/// name of a value says which: `camera_from_parent`. The rotation is stored as it was read and need
/// not be one. A plain value.
struct RigidPose {
  Eigen::Matrix3d rotation = Eigen::Matrix3d::Identity();
  Eigen::Vector3d translation = Eigen::Vector3d::Zero();  ///< metres
};

/// a_from_c, of a_from_b and b_from_c.
RigidPose compose(const RigidPose& a_from_b, const RigidPose& b_from_c);

/// b_from_a, of a_from_b. Exact for what is no rotation too, as long as it can be inverted: a
/// rotation that was written with a few digits is inverted, not transposed.
RigidPose inverse(const RigidPose& a_from_b);

/// The rotation of a quaternion of any length but zero, which is normalised first.
Eigen::Matrix3d rotationFromQuaternion(double w, double x, double y, double z);

/// w, x, y, z of length 1 with w >= 0: the quaternion of the rotation next to `rotation`, that is
/// with the least sum of squared differences of elements. `rotation` may be rounded or scaled, but
/// must not mirror. The inverse of `rotationFromQuaternion`.
Eigen::Vector4d quaternionFromRotation(const Eigen::Matrix3d& rotation);

/// The rotation about the vector by its length, radians (Rodrigues' formula).
Eigen::Matrix3d rotationFromVector(const Eigen::Vector3d& vector);

/// The vector of length at most pi of the rotation next to `rotation`, as above. The inverse of
/// `rotationFromVector`.
Eigen::Vector3d vectorFromRotation(const Eigen::Matrix3d& rotation);

}  // namespace norv::interop
