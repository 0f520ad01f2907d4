#pragma once

#include <vector>

#include "support/lens_distortion.h"
#include "support/pixel_size.h"

namespace norv::interop {

/// The points at which lenses are compared, pixels from the image's corner: 61 columns and as many
/// rows as make the cells square, at least 2 and at most 3721, the picture's border included.
std::vector<calibration::NormalizedPoint<double>> pictureGrid(const calibration::PixelSize& size);

/// These, followed by points of the border that lie four times as close: towards the corners the
/// rays are far apart, and a lens can go astray between them.
std::vector<calibration::NormalizedPoint<double>> denselyBorderedGrid(
    const calibration::PixelSize& size);

}  // namespace norv::interop
