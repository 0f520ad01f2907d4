#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

#include "tools/input/calibration_kind.h"
#include "tools/tool_answer.h"

namespace norv::tools {

/// What the verb `convert` is asked for: one of the three formats.
struct ConvertOptions {
  std::string path;
  std::string output_path = "-";
  std::optional<CalibrationKind> kind;  ///< detected if not given
  bool text = false;
  bool binary = false;
  bool json = false;
  bool lossy = false;
};

/// Adds the verb `convert` to the program; when it is given, `*options` holds its arguments.
CLI::App* addConvertCommand(CLI::App* app, ConvertOptions* options);

/// Writes a calibration in another format to a file, or, where that is called "-", into the
/// answer's output. It is read back before that: throws ToolError, with nothing written, when that
/// gives another message, unless losses are allowed; they are named in the answer's notes then.
ToolAnswer runConvertCommand(const ConvertOptions& options);

}  // namespace norv::tools
