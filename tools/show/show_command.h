#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

#include "tools/input/calibration_kind.h"

namespace norv::tools {

struct ImageSize {
  int width;
  int height;
};

/// "640x480"; nullopt for anything else. Sizes are positive.
std::optional<ImageSize> parseImageSize(const std::string& text);

struct ShowOptions {
  std::optional<std::string> path;  ///< without it the compiled-in default calibration
  std::string camera;
  std::optional<ImageSize> size;
  std::optional<CalibrationKind> kind;  ///< found out if not given
  bool json = false;
};

/// Adds the verb `show` to the program; when it is given, `*options` holds its arguments.
CLI::App* addShowCommand(CLI::App* app, ShowOptions* options);

/// The text that the verb prints. Throws ToolError when the input is bad.
std::string runShowCommand(const ShowOptions& options);

}  // namespace norv::tools
