#pragma once

#include <CLI/CLI.hpp>

#include "tools/aim/aim_options.h"

namespace norv::tools {

/// Adds the verb `aim` to the program; when it is given, `*options` holds its arguments, and they
/// go together.
CLI::App* addAimCommand(CLI::App* app, AimOptions* options);

}  // namespace norv::tools
