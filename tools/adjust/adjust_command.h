#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace norv::tools {

struct AdjustOptions {
  std::string path;
  std::string base_path;
  std::string output_path;
  bool binary = false;
  bool text = false;
};

/// Adds the verb `adjust` to the program; when it is given, `*options` holds its arguments.
CLI::App* addAdjustCommand(CLI::App* app, AdjustOptions* options);

/// Moves the camera poses of a calibration by a base's global transform and writes the result.
/// Returns the text that says what was written. Throws ToolError, with nothing written, when
/// something is amiss.
std::string runAdjustCommand(const AdjustOptions& options);

}  // namespace norv::tools
