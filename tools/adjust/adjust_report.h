#pragma once

#include <optional>
#include <string>

#include "tools/adjust/adjustment.h"

namespace norv::tools {

/// How an adjustment ended.
struct AdjustOutcome {
  std::string output;                 ///< name of what was to be written
  bool as_text = false;               ///< in text format, else in binary format
  std::string objection;              ///< why nothing was written; "" where it was
  std::optional<std::string> backup;  ///< the file that has the old contents
};

/// What was written, and what the user may not expect of it, a line each.
std::string writtenText(const Adjustment& adjustment, const AdjustOutcome& outcome);

/// A line for each finding that speaks against writing: all errors, the warnings about the base's
/// global transform, and those of the moved calibration that it did not have before.
std::string findingLines(const Adjustment& adjustment);

/// All of it as JSON: docs/json.md.
std::string adjustJson(const Adjustment& adjustment, const AdjustOutcome& outcome);

}  // namespace norv::tools
