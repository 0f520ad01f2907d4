#pragma once

/// The outline of a sphere in a picture.

#include <Eigen/Core>

#include "calibration_common/aiming/cover.h"
#include "calibration_common/aiming/frozen_lens.h"

namespace norv::internal {

/// What a sphere covers: its outline is the circle of the rays that touch it. Where the lens images
/// nothing of that, the sphere's centre alone, not whole; nothing where the camera is inside.
/// `centre` in the camera frame, metres.
Cover sphereCover(const Eigen::Vector3d& centre, double radius, FrozenLens* lens);

}  // namespace norv::internal
