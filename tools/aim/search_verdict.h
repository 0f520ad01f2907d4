#pragma once

/// What keeps an answer from being what was asked for.

#include <string>
#include <vector>

#include "calibration_common/ptz_camera_model.h"
#include "tools/aim/aim_options.h"
#include "tools/aim/search_answer.h"

namespace norv::tools {

/// The obstacles of an answer, the most important first. Not reached is what has no position; what
/// is not seen as a whole; what the range of pan or tilt keeps from its place by more than the
/// tolerance, pixels; and what a zoom was to show, and is not all in the picture. With `--strict`
/// also what the range of any motor bounds, and what misses by more than the tolerance for any
/// other reason.
std::vector<Obstacle> findObstacles(const calibration::PTZCameraModelPtr& model,
                                    const SearchOptions& options,
                                    const calibration::AimRequest& request,
                                    const calibration::Aim& aim, double tolerance);

}  // namespace norv::tools
