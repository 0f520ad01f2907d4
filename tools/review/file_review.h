#pragma once

/// What a review of a file finds, with places in the file.

#include <optional>
#include <string>
#include <vector>

#include "calibration_common/calibration_review.h"
#include "support/text_fields.h"
#include "tools/input/calibration_input.h"
#include "tools/input/calibration_kind.h"

namespace norv::tools {

/// The check whose findings say that a file does not load.
inline constexpr const char* kParseCheck = "parse";

struct PlacedFinding {
  calibration::Finding finding;
  TextPlace place;  ///< line 0 where it has none: in a binary file, or of the file as a whole
};

/// Whether a finding comes before another one in the file, as far as they have places.
bool standsBefore(const PlacedFinding& a, const PlacedFinding& b);

/// The review of a calibration, in the order of the file: of a text by line and column, those
/// without a place first; else in the order of the message.
std::vector<PlacedFinding> reviewInput(const CalibrationInput& input,
                                       const ParsedCalibration& parsed);

struct FileReview {
  std::string file;                         ///< its name, for users and programs
  std::optional<CalibrationInput> input;    ///< none where the file cannot be read
  std::optional<ParsedCalibration> parsed;  ///< none where it does not parse
  std::vector<PlacedFinding> findings;
};

/// Reviews a file, or what else `readInput` reads, as the given kind or the one that it fits best.
/// A file that cannot be read or does not parse, or which fits another kind than the given one
/// better, has one finding of `kParseCheck` and no other.
FileReview reviewFile(const std::string& path, std::optional<CalibrationKind> kind);

/// Why the library would not load the calibration that a file holds, as a finding of `kParseCheck`;
/// none where it loads. Fits head cameras again.
std::optional<PlacedFinding> findLoadFinding(const CalibrationInput& input,
                                             const ParsedCalibration& parsed);

/// "error", "warning" or "info".
const char* severityName(calibration::Severity severity);

/// "FILE:LINE:COLUMN: severity: field: text [check]" with as much of the place and field as there
/// is, fit for a terminal, ended by a line break.
std::string findingLine(const std::string& file, const PlacedFinding& placed);

}  // namespace norv::tools
