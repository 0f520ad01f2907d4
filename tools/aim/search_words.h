#pragma once

/// What values of `calibration_common/ptz_aiming.h` are called.

#include <string>

#include "calibration_common/ptz_aiming.h"

namespace norv::tools {

/// For programs; "none" where there is a position.
const char* failureWord(calibration::AimFailure failure);

/// A sentence for people, about a question with this choice of the zoom.
std::string explainFailure(calibration::AimFailure failure,
                           calibration::AimZoom zoom = calibration::AimZoom::kKeep);

/// "lowest", "highest", or null.
const char* boundWord(calibration::MotorBound bound);

}  // namespace norv::tools
