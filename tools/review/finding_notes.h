#pragma once

/// What a review finds, for a verb that shows the calibration: in brief and in numbers.

#include <string>
#include <unordered_map>
#include <vector>

#include "calibration_common/calibration_review.h"
#include "tools/output/json_output.h"

namespace norv::tools {

using Findings = std::vector<calibration::Finding>;

/// How many findings there are, those included that are not listed.
struct FindingCounts {
  int errors = 0;
  int warnings = 0;
};

FindingCounts countFindings(const Findings& findings);

/// "1 error, 2 warnings"; both numbers always.
std::string countText(const FindingCounts& counts);

/// "1 error, 2 warnings; camera-parameters validate says which", with a line break at its end; it
/// says so where there is neither, too.
std::string countLine(const Findings& findings);

/// The two numbers for programs: "errors" and "warnings".
json countJson(const Findings& findings);

/// Whether the finding is of the field at `path` or of something in it; everything is in "".
bool isWithin(const calibration::Finding& finding, const std::string& path);

/// The findings by the entry of a robot calibration that they are in, "camera_calibration[3]".
std::unordered_map<std::string, Findings> groupByEntry(const Findings& findings);

/// Notes of a section show no more errors than these.
inline constexpr int kMaxNotes = 10;

/// A note of each finding: the path of its field from `path` on, which all findings are within, and
/// the sentence. After `kMaxNotes` one that says how many more there are.
std::vector<std::string> notesOn(const Findings& findings, const std::string& path);

/// The errors within `path`, as `notesOn`.
std::vector<std::string> errorNotes(const Findings& findings, const std::string& path);

}  // namespace norv::tools
