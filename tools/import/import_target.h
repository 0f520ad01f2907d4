#pragma once

#include <optional>
#include <string>
#include <vector>

#include "proto/norv_robot_calibration.pb.h"
#include "tools/import/import_options.h"
#include "tools/review/file_review.h"

namespace norv::tools {

/// What the cameras are written to.
struct ImportTarget {
  std::string name;                     ///< for people
  bool is_stream = false;               ///< standard output
  bool as_text = true;                  ///< in text format, else in binary format
  calibration::RobotCalibration robot;  ///< what it holds before; of a new file nothing
  bool has_comments = false;            ///< which are not kept
};

/// Reads the calibration of --into, if there is one. Throws ToolError when that fails.
ImportTarget readTarget(const ImportVerbOptions& options);

/// What a review finds in a calibration with imported cameras: all errors, and what else concerns
/// these cameras, but for what the report says of their poses anyway. That an imported lens folds
/// is a warning where less than a hundredth of its picture has no rays: programs fit what they saw,
/// which is seldom a corner's last pixel, and such a lens is as good as theirs everywhere else.
std::vector<calibration::Finding> reviewImported(
    const calibration::RobotCalibration& robot,
    const std::vector<interop::ImportedCamera>& cameras);

/// Why the calibration is not to be written, as one sentence; "" where nothing speaks against it.
/// What does not load is not written with `force` either.
std::string findObjection(const ImportTarget& target,
                          const std::vector<interop::ImportedCamera>& cameras,
                          const std::vector<calibration::Finding>& findings, bool force);

/// Writes the bytes to the file that is asked for, and returns the name of the copy of what it was
/// before, if that is wanted and there was a file.
std::optional<std::string> writeTarget(const ImportVerbOptions& options, const std::string& data);

}  // namespace norv::tools
