#pragma once

#include <string>

namespace norv::tools {

/// Replaces or makes a file as the library does it. Throws ToolError, which names the file, with
/// nothing changed, when that fails.
void writeFileAtomically(const std::string& path, const std::string& contents);

}  // namespace norv::tools
