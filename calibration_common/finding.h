#pragma once

/// What a review finds in a calibration. Units, frames, pixel origin: docs/conventions.md; the
/// checks: docs/checks.md.

#include <optional>
#include <string>

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
  /// Name of the camera concerned, as stored: not checked for control characters. Empty for
  /// pan-tilt-zoom cameras and bases, which have no names, and for what concerns no one camera.
  std::string camera;
  int width = 0;  ///< image size concerned, pixels; 0 where no size is
  int height = 0;
  std::optional<double> value;      ///< the number found, where there is one
  std::optional<double> threshold;  ///< the number that it exceeds, or should reach
  /// One sentence with both numbers and their units. Holds no text of the calibration.
  std::string text;
  /// How many more of this check and severity there are than are listed; not 0 on one of them
  /// alone, whose sentence says so too.
  int unlisted = 0;
};

/// Of each check a review lists at most this many findings of one severity.
inline constexpr int kMaxFindingsPerCheck = 1000;

}  // namespace norv::calibration
