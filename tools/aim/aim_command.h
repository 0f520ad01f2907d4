#pragma once

#include "tools/aim/aim_options.h"
#include "tools/tool_answer.h"

namespace norv::tools {

/// Where the head must go. Throws ToolError when the calibration is bad or the question makes no
/// sense with it; where the head does not reach what was asked for, the status says so. The answers
/// of a track are written to standard output as they come, and what is wrong with its lines to
/// standard error.
ToolAnswer runAimCommand(const AimOptions& options);

}  // namespace norv::tools
