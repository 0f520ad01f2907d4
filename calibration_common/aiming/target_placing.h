#pragma once

/// Targets as outlines in the world.

#include <optional>

#include "calibration_common/aiming/target_outline.h"
#include "calibration_common/ptz_aiming.h"

namespace norv::internal {

/// A target of the world, or why there is none.
struct PlacedTarget {
  std::optional<TargetOutline> outline;
  calibration::AimFailure failure = calibration::AimFailure::kNone;
};

/// The target of a request that `checkAim` lets pass: pixels and boxes as they are seen from the
/// present position. `kNoPresentLens` and `kNoRay` are for these alone, `kInvalidRequest`
/// for a sphere around the present camera.
PlacedTarget placeTarget(const calibration::PTZCameraModel& model,
                         const calibration::AimRequest& request);

}  // namespace norv::internal
