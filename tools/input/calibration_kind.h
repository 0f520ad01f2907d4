#pragma once

/// Which kind of calibration a file holds.

#include <google/protobuf/message.h>

#include <memory>
#include <optional>
#include <string>

#include "tools/input/calibration_input.h"

namespace norv::tools {

enum class CalibrationKind {
  kRobot,  ///< fixed cameras: RobotCalibration
  kPtz,    ///< a pan-tilt-zoom camera: PTZCameraParameters
  kBase,   ///< the mobile base: BaseCalibrationProto
};

/// "robot", "ptz" or "base"; nullopt for anything else.
std::optional<CalibrationKind> parseCalibrationKind(const std::string& name);

/// The inverse.
const char* kindName(CalibrationKind kind);

/// What a kind holds, for messages to the user: "fixed cameras", "a pan-tilt-zoom camera" or "a
/// mobile base".
const char* describeKind(CalibrationKind kind);

struct ParsedCalibration {
  CalibrationKind kind;
  std::unique_ptr<google::protobuf::Message> message;  ///< of the kind's type
  InputFormat format;
};

/// Parses the input as the given kind, or as the one that it fits best: the one of which it leaves
/// the fewest bytes unknown, the first in the order above where several do. Throws InputError when
/// it is none; of a text, the error is that of the kind that has most of its fields (of those the
/// one whose parser came farthest), or, where another kind was given, says which it fits better.
ParsedCalibration parseCalibration(CalibrationInput* input, std::optional<CalibrationKind> kind);

/// Throws InputError when a binary input, parsed as `kind`, fits another kind better: the binary
/// format would take nearly any message for nearly any other.
void requireBestKind(const CalibrationInput& input, const ParsedCalibration& parsed);

/// Parses the input into a message of the kind that a command needs. Throws InputError when it does
/// not parse, when it is empty, and when it fits another kind better: the binary format alone would
/// take nearly any message for nearly any other, and any kind for an empty file.
InputFormat parseExpected(CalibrationInput* input, CalibrationKind kind,
                          google::protobuf::Message* message);

/// Number of fields, in a message and all that it contains, that this version does not know.
int countUnknownFields(const google::protobuf::Message& message);

}  // namespace norv::tools
