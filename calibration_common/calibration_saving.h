#pragma once

/// Writing of calibrations. What a stored message means is in docs/conventions.md, which version
/// reads what is written in docs/versions_and_files.md.

#include <optional>
#include <string>

#include "../support/export.h"
#include "calibration_format.h"
#include "proto/norv_base_calibration.pb.h"
#include "proto/norv_ptz_camera.pb.h"
#include "proto/norv_robot_calibration.pb.h"
#include "save_problem.h"

namespace norv::calibration {

/// Writes a calibration to a file, which it replaces in one step and keeps the permissions of
/// (`writeFileAtomically`); text as a person would write it (`printText`). Either format reads back
/// to the identical message, doubles to the last bit. Whether the calibration loads, or makes
/// sense, is not asked: `findLoadProblem`, `reviewCalibration`.
///
/// None where it was saved; else why not, with the file as it was. Fields that this version does
/// not know are kept in binary format; text has no words for them, so that a calibration with such
/// fields is not saved as text, nor one with a NaN that has a payload. `DiscardUnknownFields` of a
/// copy makes it fit for text. Beyond 2 GiB, which nothing would read back, neither format serves.
///
/// Throws std::bad_alloc, with the file as it was. Logs nothing. Thread-safe, for a message that
/// nobody changes. Inverses: the loads of the three kinds, such as `CameraParametersSet::fromFile`.
[[nodiscard]] NORV_EXPORT std::optional<SaveProblem> saveToFile(const RobotCalibration& robot,
                                                                const std::string& path,
                                                                CalibrationFormat format);
[[nodiscard]] NORV_EXPORT std::optional<SaveProblem> saveToFile(const PTZCameraParameters& ptz,
                                                                const std::string& path,
                                                                CalibrationFormat format);
[[nodiscard]] NORV_EXPORT std::optional<SaveProblem> saveToFile(const BaseCalibrationProto& base,
                                                                const std::string& path,
                                                                CalibrationFormat format);

}  // namespace norv::calibration
