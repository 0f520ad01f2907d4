#pragma once

#include <CLI/CLI.hpp>

#include "tools/import/import_options.h"
#include "tools/tool_answer.h"

namespace norv::tools {

/// Adds the verb `import` to the program; when it is given, `*options` holds its arguments.
CLI::App* addImportCommand(CLI::App* app, ImportVerbOptions* options);

/// Makes a calibration of other programs' files and writes it to a file, in one step, or, where
/// that is called "-", into the answer's output. With nothing written, the answer's status is that
/// of bad input when something is not taken over that has to be, when a review finds an error in
/// what was made, or when it does not load; throws ToolError when something else is wrong.
ToolAnswer runImportCommand(const ImportVerbOptions& options);

}  // namespace norv::tools
