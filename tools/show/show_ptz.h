#pragma once

#include <string>

#include "proto/norv_ptz_camera.pb.h"
#include "tools/input/calibration_input.h"
#include "tools/show/show_options.h"

namespace norv::tools {

/// A pan-tilt-zoom camera: its lens over the zoom range, its head, and what the pointing
/// computation can and cannot serve; as text or as JSON. Throws ToolError when it is not valid.
std::string showPtz(const CalibrationInput& input, const calibration::PTZCameraParameters& params,
                    const ShowOptions& options);

}  // namespace norv::tools
