#pragma once

#include <Eigen/Core>

#include "support/lens_distortion.h"

namespace norv::interop {

/// The matrix that maps the points of an upright sensor, (x, y, 1), to those of one that is tilted
/// by these angles, radians (`ExtendedLens` has the formula). Singular where the sensor is seen
/// edge-on.
Eigen::Matrix3d sensorTilt(double tau_x, double tau_y);

/// The point times the matrix, divided by the third component.
calibration::NormalizedPoint<double> applied(const Eigen::Matrix3d& homography,
                                             const calibration::NormalizedPoint<double>& p);

}  // namespace norv::interop
