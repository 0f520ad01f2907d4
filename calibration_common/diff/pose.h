#pragma once

#include <Eigen/Core>

#include "calibration_common/calibration_diff.h"
#include "proto/norv_camera_extrinsics.pb.h"
#include "proto/norv_pan_tilt_system.pb.h"

namespace norv::internal::diff {

/// A pose in double precision: a point p of the parent frame is linear p + translation in the local
/// one; metres. The linear part is what is stored, a rotation or not.
struct Pose {
  Eigen::Matrix3d linear = Eigen::Matrix3d::Identity();
  Eigen::Vector3d translation = Eigen::Vector3d::Zero();
};

/// The stored pose, which must have its 12 values. Values are passed on whatever they are.
Pose readPose(const calibration::CameraExtrinsics& stored);

/// The pose that `first` and then `second` make.
Pose compose(const Pose& second, const Pose& first);

/// Local frame of B from local frame of A: B A^-1. Its linear part is exactly the identity where
/// those of both are the same, its translation then exactly the difference of both. Not finite
/// where A has no inverse.
Pose between(const Pose& a, const Pose& b);

/// Angle of the rotation between the two and what the origin of the local frame moves by, exactly 0
/// for equal poses. With R = B A^-1 the angle is atan2(|(R32 - R23, R13 - R31, R21 - R12)|,
/// trace R - 1), which is well conditioned from 0 to pi.
calibration::PoseDifference comparePoses(const Pose& a, const Pose& b);

/// Camera from base of a head with motors at `pan` and `tilt` steps, as
/// `PanTiltModel::getFullTransform` has it in single precision. Each of the three poses must have
/// its 12 values.
Pose headPose(const calibration::PanTiltSystemParameters& head, int pan, int tilt);

}  // namespace norv::internal::diff
