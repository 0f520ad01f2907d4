#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "tools/aim/aim.h"
#include "tools/tool_answer.h"

namespace norv::tools {

struct AimOptions {
  std::string path;
  AimRequest request;
  bool json = false;
};

/// Adds the verb `aim` to the program; when it is given, `*options` holds its arguments.
CLI::App* addAimCommand(CLI::App* app, AimOptions* options);

/// Where the head must go. Throws ToolError when the calibration is bad or the question makes no
/// sense with it; where the head does not reach what was asked for, the status says so.
ToolAnswer runAimCommand(const AimOptions& options);

}  // namespace norv::tools
