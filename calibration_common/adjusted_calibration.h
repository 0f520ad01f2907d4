#pragma once

/// Calibrations whose camera poses were moved by a base, and which say so. Units and frames:
/// docs/conventions.md.

#include <optional>

#include "../support/export.h"
#include "base_calibration_data.h"
#include "proto/norv_camera_calibration.pb.h"
#include "proto/norv_robot_calibration.pb.h"

namespace norv::calibration {

/// The calibration with every camera's pose moved by the base's global transform, as
/// `CameraParametersSet::adjustUsingBaseCalibration` moves and stores it, and with the transform
/// added to every camera's `adjusted_by`. A transform that is the identity in single precision
/// moves nothing: the stored poses stay as they are, to the last bit, where moving would round them
/// to single precision. The transform is recorded all the same.
///
/// Of entries with one name `CameraParametersSet` holds the last camera alone; each such entry gets
/// that camera's pose, moved once more from entry to entry.
///
/// Nothing is asked of the record: what was moved by this base is moved again (`wasAdjustedBy`).
/// Nullopt where the calibration does not load, which the log says as a load does; a calibration
/// without cameras is returned as it is. There is no inverse: poses are rounded, and the record of
/// a move does not hold the pose before it. Thread-safe.
NORV_EXPORT std::optional<RobotCalibration> adjustCalibration(const RobotCalibration& robot,
                                                              const BaseCalibrationData& base);

/// Whether the camera's record says that its pose was moved by this base's global transform.
///
/// The transform is recognised by its twelve values: twice the same to the last bit are one
/// calibration, whatever else its file says, and rounded ones another. Where both, the record and
/// the base, state a calibration time, the times have to be equal, too. Without a record nothing is
/// known, and the answer is false. Logs nothing. Thread-safe.
NORV_EXPORT bool wasAdjustedBy(const CameraCalibration& camera, const BaseCalibrationData& base);

}  // namespace norv::calibration
