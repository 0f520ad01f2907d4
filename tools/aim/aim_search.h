#pragma once

/// Where the head must go by `calibration::aim`, and what the answer is worth.

#include <Eigen/Core>

#include "calibration_common/ptz_aiming.h"
#include "tools/aim/aim_options.h"
#include "tools/aim/search_answer.h"

namespace norv::tools {

/// The question in the library's terms; `options` has to outlive it. Without `--track`'s targets.
calibration::AimRequest requestOf(const SearchOptions& options,
                                  const calibration::MotorPositions& now);

/// The point, or the sphere around it, that an option makes of it.
calibration::AimTarget targetAt(const SearchOptions& options, const Eigen::Vector3d& point);

/// Asks and judges (`findObstacles`). Without `--tolerance` the target may land as far from its
/// place as a step of pan and one of tilt together move it, and 1 px at least: where a zoom is
/// chosen, the longest is preferred to the steps that are nearest to the place.
///
/// Throws ToolError, without the name of the file, for a head and a picture that nothing can be
/// aimed with.
SearchAnswer searchAim(const calibration::PTZCameraModelPtr& model, const SearchOptions& options,
                       const calibration::AimRequest& request);

}  // namespace norv::tools
