#pragma once

/// The verb `report`: a page about a calibration for a browser, which the Python package makes.

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

#include "tools/tool_answer.h"

namespace norv::tools {

struct ReportOptions {
  std::string path;
  std::optional<std::string> second_path;
  std::string output;
};

/// Declares the verb and its options; parsing fills `*options`.
CLI::App* addReportCommand(CLI::App* app, ReportOptions* options);

/// Becomes the Python package's program, whose exit status and output are then those of the verb.
/// Returns only where there is no such package: the refusal says how to get it.
ToolAnswer runReportCommand(const ReportOptions& options);

}  // namespace norv::tools
