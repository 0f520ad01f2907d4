#pragma once

#include <CLI/CLI.hpp>

#include "tools/export/export_options.h"
#include "tools/tool_answer.h"

namespace norv::tools {

/// Adds the verb `export` to the program; when it is given, `*options` holds its arguments.
CLI::App* addExportCommand(CLI::App* app, ExportVerbOptions* options);

/// Writes a calibration's cameras for another program to files, or, where the output is called "-",
/// into the answer's output. What is written is read back first. Throws ToolError, with nothing
/// written, where the format cannot hold a camera, or one deviates by more than it may.
ToolAnswer runExportCommand(const ExportVerbOptions& options);

}  // namespace norv::tools
