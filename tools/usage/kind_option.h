#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

#include "tools/input/calibration_kind.h"

namespace norv::tools {

/// Adds the option --kind, which sets `*kind`, to a verb. `what` begins its description.
inline CLI::Option* addKindOption(CLI::App* verb, std::optional<CalibrationKind>* kind,
                                  const std::string& what) {
  return verb
      ->add_option_function<std::string>(
          "--kind", [kind](const std::string& name) { *kind = parseCalibrationKind(name); },
          what + ": fixed cameras, a pan-tilt-zoom camera or the base; detected by default")
      ->type_name("robot|ptz|base")
      ->check([](const std::string& name) {
        return parseCalibrationKind(name) ? std::string() : "not robot, ptz or base: " + name;
      });
}

}  // namespace norv::tools
