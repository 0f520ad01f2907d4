#pragma once

#include <string>

#include "support/camera_matrix.h"

namespace norv::tools {

/// "pixels counted from the centre of the first pixel", or from the image's corner.
const char* originText(calibration::PixelOrigin origin);

}  // namespace norv::tools
