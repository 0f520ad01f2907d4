#pragma once

/// What of a request to aim can be told before its target is looked at.

#include "calibration_common/ptz_aiming.h"

namespace norv::internal {

/// `kInvalidModel`, `kInvalidRequest`, or `kNone`.
calibration::AimFailure checkAim(const calibration::PTZCameraModel& model,
                                 const calibration::AimRequest& request);

}  // namespace norv::internal
