#pragma once

#include <CLI/CLI.hpp>
#include <array>
#include <optional>
#include <string>

namespace norv::tools {

struct AimOptions {
  std::string path;
  std::array<int, 3> at = {};  ///< pan, tilt and zoom now, motor steps
  std::optional<std::array<float, 2>> pixel;
  std::optional<std::array<float, 4>> box;    ///< two opposite corners, pixels
  std::optional<std::array<float, 3>> point;  ///< world coordinates, metres
  bool json = false;
};

/// Adds the verb `aim` to the program; when it is given, `*options` holds its arguments.
CLI::App* addAimCommand(CLI::App* app, AimOptions* options);

/// Where the head must go: the text that the verb prints. Throws ToolError when the calibration is
/// bad or the head cannot point there.
std::string runAimCommand(const AimOptions& options);

}  // namespace norv::tools
