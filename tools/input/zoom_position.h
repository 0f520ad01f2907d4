#pragma once

/// Zoom positions at which a pan-tilt-zoom camera's lens is not known, or guessed.

#include <optional>
#include <string>

#include "calibration_common/ptz_camera_model.h"

namespace norv::tools {

/// Whether the lens at the configuration's zoom position is finite.
bool hasLens(const calibration::PTZCameraModelConfiguration& configuration);

/// Why there is no lens at the configuration's zoom position, with the position.
std::string explainMissingLens(const calibration::PTZCameraModelConfiguration& configuration);

/// Where a zoom position lies when its lens is not between two samples but extrapolated from them;
/// nullopt when it is between two, or there is no lens.
std::optional<std::string> explainExtrapolation(
    const calibration::PTZCameraModelConfiguration& configuration);

}  // namespace norv::tools
