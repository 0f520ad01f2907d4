#pragma once

/// Which kind of calibration a file holds.

#include <google/protobuf/message.h>

#include <memory>
#include <optional>
#include <string>

#include "tools/calibration_input.h"

namespace norv::tools {

enum class CalibrationKind {
  kRobot,  ///< fixed cameras: RobotCalibration
  kPtz,    ///< a pan-tilt-zoom camera: PTZCameraParameters
  kBase,   ///< the mobile base: BaseCalibrationProto
};

/// "robot", "ptz" or "base"; nullopt for anything else.
std::optional<CalibrationKind> parseCalibrationKind(const std::string& name);

struct ParsedCalibration {
  CalibrationKind kind;
  std::unique_ptr<google::protobuf::Message> message;  ///< of the kind's type
};

/// Parses the input as the given kind, or as the one that it fits best: the one of which it leaves
/// the fewest fields unknown, the first in the order above where several do. Throws ToolError when
/// it is none; of a text, the error is that of the kind whose parser came farthest.
ParsedCalibration parseCalibration(CalibrationInput* input, std::optional<CalibrationKind> kind);

}  // namespace norv::tools
