#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

#include "tools/input/calibration_kind.h"
#include "tools/tool_answer.h"

namespace norv::tools {

/// What the verb `validate` is asked for.
struct ValidateOptions {
  std::vector<std::string> paths;
  std::optional<CalibrationKind> kind;  ///< detected if not given
  bool strict = false;
  std::vector<std::string> allowed;    ///< ids of checks
  std::optional<std::string> explain;  ///< id of a check, instead of files
  bool json = false;
};

/// Adds the verb `validate` to the program; when it is given, `*options` holds its arguments.
CLI::App* addValidateCommand(CLI::App* app, ValidateOptions* options);

/// Reviews the files and lists what it finds; status `kBadInput` where there is an error. Files
/// that cannot be read are findings, too.
ToolAnswer runValidateCommand(const ValidateOptions& options);

}  // namespace norv::tools
