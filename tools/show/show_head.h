#pragma once

#include <string>

#include "calibration_common/ptz_camera_model.h"
#include "tools/output/json_output.h"
#include "tools/review/finding_notes.h"

namespace norv::tools {

/// The head of a valid model: its chain, its motors, what the pointing computation can and cannot
/// serve, and, where another way of writing the head would be served better, that one as a block in
/// text format. `findings` are those of the model's calibration.
std::string headText(const calibration::PTZCameraModel& model, const Findings& findings);

/// The same for programs.
json headJson(const calibration::PTZCameraModel& model, const Findings& findings);

}  // namespace norv::tools
