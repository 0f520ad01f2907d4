#pragma once

#include <string>

#include "proto/norv_base_calibration.pb.h"
#include "tools/input/calibration_input.h"
#include "tools/show/show_options.h"

namespace norv::tools {

/// A base calibration, as text or as JSON. Throws ToolError when it would not load.
std::string showBase(const CalibrationInput& input, const calibration::BaseCalibrationProto& base,
                     const ShowOptions& options);

}  // namespace norv::tools
