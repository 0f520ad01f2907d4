#pragma once

#include "calibration_common/camera_parameters.h"
#include "support/camera_model.h"

namespace norv::internal {

/// An entry of a camera's table in double precision.
calibration::CameraModel modelOf(const calibration::CameraParameters::Intrinsics& entry);

}  // namespace norv::internal
