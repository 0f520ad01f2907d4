#pragma once

#include <Eigen/Geometry>
#include <vector>

#include "calibration_common/diff/image_camera.h"
#include "calibration_common/diff/pixel_shifts.h"

namespace norv::internal::diff {

/// The rotation R, from the frame of the grid's camera into that of `b`, that makes the sum of
/// squares of the pixel differences |project_b(R ray) - imaged|^2 smallest, over the rays that have
/// a shift in `as_is`.
///
/// Gauss-Newton on three angles from no rotation, its steps halved until the sum does not grow, to
/// steps of 1e-13 rad (Nocedal and Wright, Numerical Optimization, 2nd ed., Springer 2006, section
/// 10.3). It is the minimum next to no rotation; where the cameras have little in common, it is the
/// best that was found. No rotation where there is nothing to compare.
Eigen::Quaterniond findBestRotation(const ImageCamera& b, const std::vector<GridPixel>& grid,
                                    const Shifts& as_is);

}  // namespace norv::internal::diff
