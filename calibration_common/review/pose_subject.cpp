#include "calibration_common/review/pose_subject.h"

#include <Eigen/LU>
#include <algorithm>
#include <cmath>
#include <limits>

#include "calibration_common/stored_pose.h"

namespace norv::internal::review {
namespace {

bool isReadable(const calibration::CameraExtrinsics& stored) {
  constexpr auto kMax = static_cast<double>(std::numeric_limits<float>::max());
  return hasPose(stored) && std::all_of(stored.a().begin(), stored.a().begin() + kPoseValues,
                                        [](double a) { return std::abs(a) <= kMax; });
}

}  // namespace

PoseSubject makePoseSubject(const calibration::CameraExtrinsics& stored, const std::string& field) {
  PoseSubject pose = {
      stored, field + ".a", isReadable(stored), Eigen::Matrix3d::Zero(), Eigen::Vector3d::Zero(),
      0};
  if (!pose.readable) return pose;
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) {
      pose.rotation(row, column) = stored.a(4 * row + column);
    }
    pose.translation(row) = stored.a(4 * row + 3);
  }
  const Eigen::Matrix3d excess =
      pose.rotation * pose.rotation.transpose() - Eigen::Matrix3d::Identity();
  pose.residual = excess.cwiseAbs().maxCoeff();
  return pose;
}

bool isRigid(const PoseSubject& pose) {
  return pose.readable && pose.residual <= kMaxRotationResidual;
}

bool isRotation(const PoseSubject& pose) {
  return isRigid(pose) && pose.rotation.determinant() > 0;
}

}  // namespace norv::internal::review
