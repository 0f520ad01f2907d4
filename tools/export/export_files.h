#pragma once

#include <string>
#include <vector>

#include "interop/peer_writing.h"
#include "tools/export/export_options.h"

namespace norv::tools {

/// What was written: names of files, and sentences about them.
struct ExportedFiles {
  std::vector<std::string> paths;
  std::vector<std::string> notes;
};

/// Writes the files, each in one step: COLMAP's into a folder, which is made where it is missing,
/// or the first of them alone where the output's name ends in .txt. Throws ToolError when one
/// cannot be written, or when it is the calibration itself.
ExportedFiles writeFiles(const ExportVerbOptions& options, const interop::PeerWriting& writing);

}  // namespace norv::tools
