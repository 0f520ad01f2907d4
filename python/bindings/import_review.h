#pragma once

/// What is wrong with a calibration that other programs' cameras were put into.

#include <string>
#include <vector>

#include "calibration_common/finding.h"
#include "interop/calibration_import.h"
#include "proto/norv_robot_calibration.pb.h"

namespace norv::python {

/// What a review finds: all errors, and what else concerns the imported cameras, but for that they
/// have no pose where they have none. That an imported lens folds is a warning where less than a
/// hundredth of its picture has no rays: programs fit what they saw, which is seldom a corner's
/// last pixel, and such a lens is as good as theirs everywhere else. Thread-safe.
std::vector<calibration::Finding> reviewImported(
    const calibration::RobotCalibration& robot,
    const std::vector<interop::ImportedCamera>& cameras);

/// Sentences about what cameras that are replaced by imported ones had and these lack: a pose, a
/// model. `robot` is the calibration before.
std::vector<std::string> replacementNotes(const calibration::RobotCalibration& robot,
                                          const std::vector<interop::ImportedCamera>& cameras);

}  // namespace norv::python
