#pragma once

/// What requests and answers of aiming are called: the words of the command-line tool.

#include <string>

#include "calibration_common/ptz_aiming.h"
#include "calibration_common/ptz_coverage.h"

namespace norv::python {

/// "out-of-reach" and the like; "none" where there is a position.
const char* failureWord(calibration::AimFailure failure);

/// A sentence about a question with this choice of the zoom.
std::string explainFailure(calibration::AimFailure failure, calibration::AimZoom zoom);

/// "lowest", "highest", or null.
const char* boundWord(calibration::MotorBound bound);

/// Throw ValueError, which lists the words, for others.
calibration::AimChoice choiceOf(const std::string& word);
calibration::AimPlace placeOf(const std::string& word);
calibration::PtzSight sightOf(const std::string& word);

}  // namespace norv::python
