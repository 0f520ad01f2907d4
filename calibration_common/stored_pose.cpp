#include "calibration_common/stored_pose.h"

#include <string>

namespace norv::internal {

bool hasPose(const calibration::CameraExtrinsics& stored) { return stored.a_size() >= kPoseValues; }

std::optional<LoadProblem> findShortPose(std::string_view path,
                                         const calibration::CameraExtrinsics& stored) {
  if (hasPose(stored)) return std::nullopt;
  return shortListProblem(std::string(path) + ".a", stored.a_size(), kPoseValues);
}

LoadProblem shortListProblem(std::string_view path, int size, int needed) {
  return {std::string(path), "holds " + std::to_string(size) + " values, at least " +
                                 std::to_string(needed) + " are needed"};
}

Matrix4x4_f readPose(const calibration::CameraExtrinsics& stored) {
  Matrix4x4_f pose;
  const double* row = stored.a().data();
  for (int r = 0; r < 3; ++r, row += 4) {
    for (int c = 0; c < 3; ++c) pose(r, c) = static_cast<float>(row[c]);
    pose(r, 3) = static_cast<float>(row[3] * 0.001);
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
