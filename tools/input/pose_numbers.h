#pragma once

#include <array>
#include <optional>
#include <string>

#include "interop/rigid_pose.h"
#include "proto/norv_camera_extrinsics.pb.h"

namespace norv::tools {

/// The top three rows of a pose, row by row, translations in millimetres.
using PoseNumbers = std::array<double, 12>;

/// Twelve finite numbers with blanks, commas or both between them; nullopt for anything else.
std::optional<PoseNumbers> parsePose(const std::string& text);

/// The same pose, its translation in metres.
interop::RigidPose rigidPoseOf(const PoseNumbers& numbers);

/// The same numbers as a message holds them.
calibration::CameraExtrinsics extrinsicsOf(const PoseNumbers& numbers);

}  // namespace norv::tools
