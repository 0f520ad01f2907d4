#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "tools/show/show_options.h"

namespace norv::tools {

/// Adds the verb `show` to the program; when it is given, `*options` holds its arguments.
CLI::App* addShowCommand(CLI::App* app, ShowOptions* options);

/// The text that the verb prints. Throws ToolError when the input is bad.
std::string runShowCommand(const ShowOptions& options);

}  // namespace norv::tools
