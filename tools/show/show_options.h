#pragma once

#include <optional>
#include <string>

#include "tools/input/calibration_kind.h"
#include "tools/input/image_size.h"

namespace norv::tools {

/// What the verb `show` is asked for.
struct ShowOptions {
  std::optional<std::string> path;      ///< without it the compiled-in default calibration
  std::optional<std::string> camera;    ///< without it all of them
  std::optional<ImageSize> size;        ///< without it those that a camera delivers
  std::optional<CalibrationKind> kind;  ///< detected if not given
  bool json = false;
};

}  // namespace norv::tools
