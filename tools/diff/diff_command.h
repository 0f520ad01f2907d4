#pragma once

#include <CLI/CLI.hpp>

#include "tools/diff/diff_options.h"
#include "tools/tool_answer.h"

namespace norv::tools {

/// Adds the verb `diff` to the program; when it is given, `*options` holds its arguments.
CLI::App* addDiffCommand(CLI::App* app, DiffVerbOptions* options);

/// Compares two calibrations; status `kExceeded` where a limit is exceeded. Throws ToolError, with
/// nothing written, when something is wrong.
ToolAnswer runDiffCommand(const DiffVerbOptions& options);

}  // namespace norv::tools
