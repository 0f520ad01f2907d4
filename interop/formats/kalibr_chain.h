#pragma once

/// The poses of a camchain.

#include <optional>
#include <vector>

#include "interop/peer_camera.h"
#include "interop/syntax/fields.h"

namespace norv::interop {

/// What a camera of the chain has of poses.
struct KalibrPoses {
  std::optional<Field> camera_from_imu;       ///< T_cam_imu
  std::optional<Field> camera_from_previous;  ///< T_cn_cnm1
};

/// Sets the parent, and of each camera the pose; `poses` are those of `file->cameras`. A
/// T_cn_cnm1 that says nothing is listed as not taken over: that of cam0, or behind a camera
/// without a pose. Throws FormatError where a pose has no rotation, T_cn_cnm1 and T_cam_imu
/// disagree by more than `kMaxChainError`, or cam0 alone lacks T_cam_imu.
void setKalibrPoses(const std::vector<KalibrPoses>& poses, PeerFile* file);

/// By what an element of a pose may differ, metres in its translation.
inline constexpr double kMaxChainError = 1e-6;

}  // namespace norv::interop
