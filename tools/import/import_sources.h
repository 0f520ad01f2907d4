#pragma once

#include <string>
#include <vector>

#include "interop/peer_reading.h"

namespace norv::tools {

/// Files of other programs, as they are to be imported.
struct ImportSources {
  std::vector<interop::SourceFile> files;
  std::vector<std::string> paths;                     ///< of these, but standard input
  std::vector<interop::NotTakenOver> not_taken_over;  ///< files of folders, by their paths
};

/// Reads files, or standard input for "-", and of folders what COLMAP has in them: cameras.txt and,
/// if it is there, images.txt. Throws ToolError when that fails.
ImportSources readSources(const std::vector<std::string>& paths);

/// One file, or standard input for "-".
interop::SourceFile readSource(const std::string& path);

}  // namespace norv::tools
