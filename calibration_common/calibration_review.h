#pragma once

/// What is wrong or doubtful in a calibration that loading takes as it is. Loading refuses little,
/// so that a robot can run on an unusual calibration; a review tells an unusual one from a mistaken
/// one. Units, frames, pixel origin: docs/conventions.md; every check with its threshold and the
/// reason for it: docs/checks.md.

#include <optional>
#include <string>
#include <vector>

#include "../support/export.h"
#include "proto/norv_base_calibration.pb.h"
#include "proto/norv_ptz_camera.pb.h"
#include "proto/norv_robot_calibration.pb.h"

namespace norv::calibration {

enum class Severity {
  kInfo,     ///< worth knowing, and right for many calibrations
  kWarning,  ///< unlikely to be meant, or costs accuracy
  kError,    ///< does not load, or gives answers that no robot can use
};

/// One thing that a review found.
struct Finding {
  Severity severity;
  std::string check;  ///< id of the check, as in `calibrationChecks`; ids never change
  /// The field, as a path from the top of the message:
  /// "camera_calibration[0].intrinsics.radial[2]". Indices count from 0. The path ends with the
  /// list where that is at fault as a whole, and with a number in place of a name for a field that
  /// this version does not know; it is empty for the whole message. The field need not be present:
  /// that it is missing may be what was found.
  std::string field;
  /// Name of the camera concerned, as stored: not checked for control characters. Empty in a
  /// calibration of one camera or none.
  std::string camera;
  int width = 0;  ///< image size concerned, pixels; 0 where no size is
  int height = 0;
  std::optional<double> value;      ///< the number found, where there is one
  std::optional<double> threshold;  ///< the number that it exceeds, or should reach
  /// One sentence with both numbers and their units. Holds no text of the calibration.
  std::string text;
};

/// The findings in a calibration, in the order of the message: by field number, repeated fields by
/// index; empty where nothing was found. A calibration without an error loads, and one that does
/// not load has an error.
///
/// Any message is reviewed, however large, empty or nonsensical, in a time proportional to its
/// size; a head camera costs its fit, as in loading. Of each check no more than
/// `kMaxFindingsPerCheck` are listed for each severity, and the last of those says how many more
/// there are. Nothing is logged. Thread-safe.
NORV_EXPORT std::vector<Finding> reviewCalibration(const RobotCalibration& robot);
NORV_EXPORT std::vector<Finding> reviewCalibration(const PTZCameraParameters& ptz);
/// Compares times with the system's clock.
NORV_EXPORT std::vector<Finding> reviewCalibration(const BaseCalibrationProto& base);

inline constexpr int kMaxFindingsPerCheck = 1000;

/// A check, for people.
struct CheckDescription {
  std::string id;
  std::vector<Severity> severities;  ///< that its findings can have, the worst first
  std::string found_when;
  std::string reason;  ///< for the check and its threshold
};

/// All checks, those of fixed cameras first. "parse" is among them, which no review finds: it is
/// for those who read files, and who find that one holds no calibration. The list lives as long as
/// the program. Thread-safe.
NORV_EXPORT const std::vector<CheckDescription>& calibrationChecks();

}  // namespace norv::calibration
