#pragma once

#include <string>
#include <vector>

#include "interop/calibration_import.h"
#include "interop/peer_reading.h"

namespace norv::tools {

/// How far imported cameras see points from where they were seen, a line for each camera and for
/// each convention that would explain them better. Throws ToolError where the table of points is
/// refused.
std::string checkText(const std::vector<interop::ImportedCamera>& cameras,
                      const interop::SourceFile& points, calibration::PixelOrigin origin);

}  // namespace norv::tools
