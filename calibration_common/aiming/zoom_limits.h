#pragma once

/// Where a zoom table has lenses.

#include "calibration_common/ptz_aiming.h"

namespace norv::internal {

/// The search behind `calibration::zoomRange`.
calibration::ZoomRange findZoomRange(const calibration::PTZCameraModel& model);

}  // namespace norv::internal
