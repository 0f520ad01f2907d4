#pragma once

#include "calibration_common/calibration_diff.h"
#include "calibration_common/diff/pose.h"

namespace norv::internal::diff {

/// Compares two cameras at one image size, which is A's. `b_from_a` is the camera frame of B from
/// that of A on the robot. Of the options the distances and `keep_grid` count.
calibration::ImageDifference compareImages(const calibration::CameraParameters::Intrinsics& a,
                                           const calibration::CameraParameters::Intrinsics& b,
                                           const Pose& b_from_a,
                                           const calibration::DiffOptions& options);

}  // namespace norv::internal::diff
