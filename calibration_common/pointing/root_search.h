#pragma once

/// All angles at which a head sees a point on a ray.

#include <Eigen/Core>

#include "calibration_common/pan_tilt_roots.h"
#include "calibration_common/pan_tilt_solver.h"

namespace norv::internal {

/// The search behind `PanTiltModel::solveAll`. With the tilt angle and the distance on the ray
/// eliminated, the pan is a common point of a conic and the unit circle: at most four, which are
/// starts of Newton's iteration for the pan and the distance together. Neither elimination is
/// well conditioned everywhere, and the iteration undoes what they lose.
calibration::PanTiltRoots searchRoots(const PanTiltPoses& head, const Eigen::Vector3d& world,
                                      const Eigen::Vector2d& dev,
                                      const calibration::PanTiltSearch& search);

}  // namespace norv::internal
