#pragma once

#include <CLI/CLI.hpp>

#include "tools/tool_answer.h"
#include "tools/view/view_options.h"

namespace norv::tools {

/// Adds the verb `view` to the program; when it is given, `*options` holds its arguments.
CLI::App* addViewCommand(CLI::App* app, ViewVerbOptions* options);

/// Says what a camera at one size is and how its pictures are straightened; status `kNoView` where
/// there is no such straightened picture. Throws ToolError when something is wrong.
ToolAnswer runViewCommand(const ViewVerbOptions& options);

}  // namespace norv::tools
