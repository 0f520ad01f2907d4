#include "tools/calibration_kind.h"

#include <google/protobuf/descriptor.h>
#include <google/protobuf/unknown_field_set.h>

#include <array>
#include <utility>
#include <vector>

#include "proto/norv_base_calibration.pb.h"
#include "proto/norv_ptz_camera.pb.h"
#include "proto/norv_robot_calibration.pb.h"
#include "support/message_parsing.h"

namespace norv::tools {
namespace {

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;

constexpr std::array<CalibrationKind, 3> kKinds = {CalibrationKind::kRobot, CalibrationKind::kPtz,
                                                   CalibrationKind::kBase};

std::unique_ptr<Message> newMessage(CalibrationKind kind) {
  switch (kind) {
    case CalibrationKind::kRobot:
      return std::make_unique<calibration::RobotCalibration>();
    case CalibrationKind::kPtz:
      return std::make_unique<calibration::PTZCameraParameters>();
    case CalibrationKind::kBase:
      break;
  }
  return std::make_unique<calibration::BaseCalibrationProto>();
}

/// Number of unknown fields in a message and all that it contains.
int countUnknownFields(const Message& message) {
  const auto* reflection = message.GetReflection();
  int count = reflection->GetUnknownFields(message).field_count();
  std::vector<const FieldDescriptor*> fields;
  reflection->ListFields(message, &fields);
  for (const FieldDescriptor* field : fields) {
    if (field->message_type() == nullptr) continue;
    if (!field->is_repeated()) {
      count += countUnknownFields(reflection->GetMessage(message, field));
      continue;
    }
    for (int i = 0; i < reflection->FieldSize(message, field); ++i) {
      count += countUnknownFields(reflection->GetRepeatedMessage(message, field, i));
    }
  }
  return count;
}

/// The kind of a binary message, if it is one.
std::optional<CalibrationKind> detectBinary(const std::string& data) {
  std::optional<CalibrationKind> best;
  int fewest = 0;
  for (const CalibrationKind kind : kKinds) {
    const std::unique_ptr<Message> message = newMessage(kind);
    if (!internal::parseBinary(data, message.get())) continue;
    const int unknown = countUnknownFields(*message);
    if (best && unknown >= fewest) continue;
    best = kind;
    fewest = unknown;
  }
  return best;
}

/// The kind of a text: the one that it parses as, or else the one whose parser came farthest.
CalibrationKind detectText(const std::string& data) {
  CalibrationKind farthest = CalibrationKind::kRobot;
  std::pair<int, int> farthest_place = {0, 0};
  for (const CalibrationKind kind : kKinds) {
    internal::TextParseError error;
    if (internal::parseText(data, newMessage(kind).get(), &error)) return kind;
    const std::pair<int, int> place = {error.line, error.column};
    if (place <= farthest_place) continue;
    farthest = kind;
    farthest_place = place;
  }
  return farthest;
}

}  // namespace

std::optional<CalibrationKind> parseCalibrationKind(const std::string& name) {
  if (name == "robot") return CalibrationKind::kRobot;
  if (name == "ptz") return CalibrationKind::kPtz;
  if (name == "base") return CalibrationKind::kBase;
  return std::nullopt;
}

ParsedCalibration parseCalibration(CalibrationInput* input, std::optional<CalibrationKind> kind) {
  if (!kind) kind = detectBinary(input->data);
  if (!kind) kind = detectText(input->data);
  ParsedCalibration parsed = {*kind, newMessage(*kind)};
  parseInput(input, parsed.message.get());
  return parsed;
}

}  // namespace norv::tools
