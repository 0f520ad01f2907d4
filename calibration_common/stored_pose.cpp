#include "calibration_common/stored_pose.h"

namespace norv::internal {

bool hasPose(const calibration::CameraExtrinsics& stored) { return stored.a_size() >= kPoseValues; }

Matrix4x4_f readPose(const calibration::CameraExtrinsics& stored) {
  Matrix4x4_f pose;
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c) pose(r, c) = static_cast<float>(stored.a(4 * r + c));
    pose(r, 3) = static_cast<float>(stored.a(4 * r + 3) * 0.001);
  }
  pose.row(3) << 0.0F, 0.0F, 0.0F, 1.0F;
  return pose;
}

void storePose(const Matrix4x4_f& pose, calibration::CameraExtrinsics* stored) {
  stored->Clear();
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c) stored->add_a(static_cast<double>(pose(r, c)));
    stored->add_a(static_cast<double>(pose(r, 3)) * 1000.0);
  }
}

}  // namespace norv::internal
