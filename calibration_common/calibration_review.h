#pragma once

/// What is wrong or doubtful in a calibration that loading takes as it is. Loading refuses little,
/// so that a robot can run on an unusual calibration; a review tells an unusual one from a mistaken
/// one. Units, frames, pixel origin: docs/conventions.md; every check with its threshold and the
/// reason for it: docs/checks.md.

#include <string>
#include <vector>

#include "../support/export.h"
#include "finding.h"
#include "proto/norv_base_calibration.pb.h"
#include "proto/norv_ptz_camera.pb.h"
#include "proto/norv_robot_calibration.pb.h"

namespace norv::calibration {

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
