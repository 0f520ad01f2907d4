#pragma once

/// What keeps a camera from loading, one question a function, in the order in which a load asks
/// them. Paths of fields begin at the camera's calibration. Thread-safe.

#include <optional>

#include "calibration_common/camera_models.h"
#include "proto/norv_camera_calibration.pb.h"
#include "support/load_problem.h"

namespace norv::internal {

/// Fewer than 6 radial, 2 tangential or 12 pose values.
std::optional<LoadProblem> findShortList(const calibration::CameraCalibration& camera);

/// No size of the full frame, for a model that is not known. Present and zero is a size.
std::optional<LoadProblem> findMissingSize(const calibration::CameraCalibration& camera);

/// No sample points to fit the intrinsics of a warped image to.
std::optional<LoadProblem> findMissingSamples(const calibration::CameraCalibration& camera);

/// Intrinsics that were fitted and miss their points too far, or that no fit exists for.
std::optional<LoadProblem> findUselessFit(const FittedView& fitted);

}  // namespace norv::internal
