#pragma once

#include <string>

namespace norv::tools {

/// Replaces the file at `path`, or makes it, so that at any moment it has either its old contents
/// or all of the new ones: a temporary file beside it is written, flushed to the disk and renamed.
/// A file that exists keeps its permissions, and its owner where the user may give files away; one
/// that the user may not write to is left alone. A link stays, and what it points to is replaced.
/// Throws ToolError, with nothing changed, when any of it fails. While the temporary file is there,
/// SIGINT, SIGTERM and SIGHUP are held back from the calling thread, so that only SIGKILL, or
/// another signal that nobody catches, leaves it behind.
void writeFileAtomically(const std::string& path, const std::string& contents);

}  // namespace norv::tools
