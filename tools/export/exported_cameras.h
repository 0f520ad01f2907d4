#pragma once

#include <vector>

#include "interop/peer_writing.h"
#include "tools/export/export_options.h"

namespace norv::tools {

/// A calibration's cameras, or those that are asked for, as they are to be written.
struct ExportedCalibration {
  std::string source;  ///< name of the file
  std::vector<interop::WrittenCamera> cameras;
};

/// Reads the calibration. At the full frame cameras have the message's doubles, at another size the
/// library's floats as the doubles with the fewest digits. Throws ToolError where it does not load,
/// where there is no such camera or size, or where two of the cameras have one name.
ExportedCalibration readExported(const ExportVerbOptions& options);

}  // namespace norv::tools
