#pragma once

#include <string>

namespace norv::tools {

/// Replaces or makes a file as the library does it. Throws ToolError, which names the file, with
/// nothing changed, when that fails.
void writeFileAtomically(const std::string& path, const std::string& contents);

/// Throws ToolError where the two are one file, by whatever names: what is read is easily lost to a
/// mistyped name.
void requireOtherFile(const std::string& output, const std::string& input);

}  // namespace norv::tools
