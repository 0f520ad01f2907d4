#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "tools/aim/aim_solution.h"

namespace norv::tools {

struct AimOptions {
  std::string path;
  AimRequest request;
  bool json = false;
};

/// Adds the verb `aim` to the program; when it is given, `*options` holds its arguments.
CLI::App* addAimCommand(CLI::App* app, AimOptions* options);

/// Where the head must go: the text that the verb prints. Throws ToolError when the calibration is
/// bad or the head cannot point there.
std::string runAimCommand(const AimOptions& options);

}  // namespace norv::tools
