#pragma once

/// Why a calibration cannot be saved, as a value. Conventions: docs/conventions.md.

#include <string>
#include <vector>

namespace norv::calibration {

/// Why a calibration was not saved.
struct SaveProblem {
  /// For a person to read: what the system says, such as "Permission denied" or "No space left on
  /// device" (`writeFileAtomically` lists the rest), "too large for the format", or "text cannot
  /// hold ...".
  std::string sentence;
  /// The fields that text cannot hold (`listTextLosses`); empty for any other reason.
  std::vector<std::string> lost_fields;
};

}  // namespace norv::calibration
