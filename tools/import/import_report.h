#pragma once

#include <string>
#include <vector>

#include "interop/calibration_import.h"
#include "proto/norv_robot_calibration.pb.h"
#include "tools/import/import_options.h"

namespace norv::tools {

/// What became of the files, a line for each file, camera and note.
std::string importText(const interop::ImportOutcome& outcome, const ImportVerbOptions& options);

/// The keys of all files that were not taken over, files before them, poses without a known parent
/// among them.
std::vector<interop::NotTakenOver> listNotTakenOver(const interop::ImportOutcome& outcome);

/// "not taken over: KEY (reason)", a line for each.
std::string notTakenOverText(const std::vector<interop::NotTakenOver>& keys);

/// Lines of comment for a calibration in text format: from what its cameras were imported.
std::string originComments(const interop::ImportOutcome& outcome);

/// Notes of what cameras that are replaced by imported ones had and these lack: a pose, a model.
/// `robot` is the calibration before.
std::string replacementNotes(const calibration::RobotCalibration& robot,
                             const std::vector<interop::ImportedCamera>& cameras);

}  // namespace norv::tools
