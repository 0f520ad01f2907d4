#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "tools/tool_answer.h"

namespace norv::tools {

struct AdjustOptions {
  std::string path;
  std::string base_path;
  std::string output_path;
  bool binary = false;
  bool text = false;
  bool backup = false;
  bool force = false;
  bool again = false;
  bool json = false;
};

/// Adds the verb `adjust` to the program; when it is given, `*options` holds its arguments.
CLI::App* addAdjustCommand(CLI::App* app, AdjustOptions* options);

/// Moves the camera poses of a calibration by a base's global transform and writes the result to a
/// file, or, where that is called "-", into the answer's output; what was written is then said in
/// its notes. With nothing written, the answer's status is that of bad input when the base or the
/// result has an error, or when the base moved a camera before, unless the options say otherwise;
/// throws ToolError when something else is wrong.
ToolAnswer runAdjustCommand(const AdjustOptions& options);

}  // namespace norv::tools
