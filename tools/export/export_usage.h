#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "tools/export/export_options.h"

namespace norv::tools {

/// Adds the verb's options to it.
void addExportOptions(CLI::App* verb, ExportVerbOptions* options);

/// Why options do not go together; "" where they do.
std::string findConflict(const ExportVerbOptions& options);

/// What the library is asked for.
interop::ExportOptions exportOptionsOf(const ExportVerbOptions& options);

}  // namespace norv::tools
