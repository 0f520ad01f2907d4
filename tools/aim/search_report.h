#pragma once

#include <string>

#include "calibration_common/ptz_camera_model.h"
#include "tools/aim/aim_options.h"
#include "tools/aim/search_answer.h"
#include "tools/output/json_output.h"

namespace norv::tools {

/// What `searchAim` found, for people: the best position, or all.
std::string searchText(const calibration::PTZCameraModel& model, const SearchOptions& options,
                       const SearchAnswer& answer);

/// The same for programs. What follows from a position is null without one.
std::string searchJson(const calibration::PTZCameraModel& model, const SearchOptions& options,
                       const SearchAnswer& answer);

/// The part of it that says how the question was answered, and the best position's part.
json verdictJson(const SearchAnswer& answer);
json positionJson(const calibration::PTZCameraModel& model,
                  const calibration::AimPosition* position);

}  // namespace norv::tools
