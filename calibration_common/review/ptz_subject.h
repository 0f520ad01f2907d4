#pragma once

#include "calibration_common/review/subjects.h"

namespace norv::internal::review {

/// A pan-tilt-zoom camera, measured.
PtzSubject makePtzSubject(const calibration::PTZCameraParameters& ptz);

}  // namespace norv::internal::review
