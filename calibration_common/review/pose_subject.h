#pragma once

#include <Eigen/Core>
#include <string>

#include "proto/norv_camera_extrinsics.pb.h"

namespace norv::internal::review {

/// A stored pose, in double precision and in millimetres as it is stored.
struct PoseSubject {
  const calibration::CameraExtrinsics& stored;
  std::string path;  ///< of the list of values
  /// Whether there are 12 values and single precision can hold them; else the matrices are zero.
  bool readable;
  Eigen::Matrix3d rotation;
  Eigen::Vector3d translation;
  /// Largest element of R R^T - 1, by how much the rotation is none.
  double residual;
};

/// `field` is the path of the pose.
PoseSubject makePoseSubject(const calibration::CameraExtrinsics& stored, const std::string& field);

/// A pose with a larger residual turns and stretches by more than any rounding does.
inline constexpr double kMaxRotationResidual = 1e-2;

/// Whether lengths and angles stay what they are, apart from rounding; mirror images included.
bool isRigid(const PoseSubject& pose);

/// Whether the pose is one, apart from rounding.
bool isRotation(const PoseSubject& pose);

}  // namespace norv::internal::review
