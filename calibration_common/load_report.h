#pragma once

/// What became of a load, for programs that want to know more than whether it went well. Paths and
/// checks of findings: finding.h; units and frames: docs/conventions.md.

#include <optional>
#include <string>
#include <vector>

#include "../support/export.h"
#include "../support/text_fields.h"
#include "calibration_format.h"
#include "finding.h"

namespace norv::calibration {

/// A finding, and where it stands.
struct PlacedFinding {
  Finding finding = {};
  /// Of the field in a text, or of the innermost one around it where it is missing; line 0 in
  /// binary data, and for what concerns all of the data.
  TextPlace place = {};
};

/// "16:5: camera_calibration[0].extrinsics.a: holds 8 values, at least 12 are needed": line and
/// column, field, text, as much of that as there is. Not made fit for a terminal (`toPrintable`).
NORV_EXPORT std::string describeFinding(const PlacedFinding& placed);

/// What a load found in the data that it was given. Operations that fill one replace what it held.
///
/// A report takes a review of all that the data holds (`reviewCalibration`), and so several times
/// as long as the load itself. Operations that are given a null pointer make none.
struct LoadReport {
  /// What the data was read as; none where it cannot be read, or is neither.
  std::optional<CalibrationFormat> format;
  /// The names of the cameras that were taken from the data, each once, in its order. After a load
  /// that failed the cameras of the entries before the wrong one, which stay in a
  /// `CameraParametersSet` unless the default has cameras of their names. Empty for calibrations
  /// of other kinds.
  std::vector<std::string> cameras;
  /// Whether the load failed and the compiled-in default calibration is in force now. False after a
  /// failure of operations that never fall back to it.
  bool default_in_force = false;
  /// Why the load failed, an error of the check "parse"; none where it did not.
  std::optional<PlacedFinding> problem;
  /// All that a review finds in the calibration, in the order of the file: of a text by line and
  /// column. Before that, errors of the check "parse": of data that cannot be read, is neither
  /// binary nor text, is empty or of another kind of calibration, which does not keep all loads
  /// from going well.
  std::vector<PlacedFinding> findings;
};

}  // namespace norv::calibration
