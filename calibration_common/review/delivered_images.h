#pragma once

/// The images that a camera model makes of a full frame, for review.

#include <vector>

#include "calibration_common/camera_models.h"
#include "calibration_common/review/lens_subject.h"

namespace norv::internal::review {

/// The crops of a model; none for `CameraModel::kOther`.
std::vector<Crop> cropsOf(CameraModel model);

/// The size of the smallest frame that all crops lie within.
ImageSize frameOfCrops(const std::vector<Crop>& crops);

/// The camera of the cropped and scaled image, as `CameraParameters::recomputeKMatrix` has it.
PinholeImage cropped(const PinholeImage& image, const Crop& crop);

}  // namespace norv::internal::review
