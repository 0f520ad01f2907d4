#pragma once

#include <cstdio>
#include <functional>
#include <string>

#include "calibration_common/ptz_camera_model.h"
#include "tools/aim/aim_options.h"
#include "tools/tool_answer.h"

namespace norv::tools {

/// Aims at the points of `*options.track` one after the other, each from where the motors are for
/// the last, and writes an answer to `output` as soon as there is one. Where there is no position
/// the motors stay. A line that is no target is told to `complain` in a sentence, too, and makes
/// the status one of bad input in the end; a target that is not reached counts with `--strict`
/// alone.
///
/// Throws ToolError when the track cannot be read, the output not be written, or nothing can be
/// aimed with the camera.
ExitStatus followTrack(const calibration::PTZCameraModelPtr& model, const AimOptions& options,
                       std::FILE* output, const std::function<void(const std::string&)>& complain);

}  // namespace norv::tools
