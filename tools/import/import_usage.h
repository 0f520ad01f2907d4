#pragma once

#include <CLI/CLI.hpp>

#include "tools/import/import_options.h"

namespace norv::tools {

/// Adds the verb's options to it.
void addImportOptions(CLI::App* verb, ImportVerbOptions* options);

/// Why options do not go together; "" where they do.
std::string findConflict(const ImportVerbOptions& options);

}  // namespace norv::tools
