#include "tools/input/calibration_kind.h"

#include <fmt/format.h>
#include <google/protobuf/descriptor.h>
#include <google/protobuf/unknown_field_set.h>

#include <array>
#include <utility>
#include <vector>

#include "proto/norv_base_calibration.pb.h"
#include "proto/norv_ptz_camera.pb.h"
#include "proto/norv_robot_calibration.pb.h"
#include "support/message_parsing.h"
#include "tools/tool_error.h"

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

struct BinaryFit {
  CalibrationKind kind;
  int unknown_fields;
};

/// What a binary message fits best, if it is one.
std::optional<BinaryFit> detectBinary(const std::string& data) {
  std::optional<BinaryFit> best;
  for (const CalibrationKind kind : kKinds) {
    const std::unique_ptr<Message> message = newMessage(kind);
    if (!norv::parseBinary(data, message.get())) continue;
    const int unknown = countUnknownFields(*message);
    if (!best || unknown < best->unknown_fields) best = {kind, unknown};
  }
  return best;
}

/// The kind of a text: the one that it parses as, or else the one whose parser came farthest.
CalibrationKind detectText(const std::string& data) {
  CalibrationKind farthest = CalibrationKind::kRobot;
  std::pair<int, int> farthest_place = {0, 0};
  for (const CalibrationKind kind : kKinds) {
    norv::TextParseError error;
    if (norv::parseText(data, newMessage(kind).get(), &error)) return kind;
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

const char* describeKind(CalibrationKind kind) {
  switch (kind) {
    case CalibrationKind::kRobot:
      return "fixed cameras";
    case CalibrationKind::kPtz:
      return "a pan-tilt-zoom camera";
    case CalibrationKind::kBase:
      break;
  }
  return "a mobile base";
}

ParsedCalibration parseCalibration(CalibrationInput* input, std::optional<CalibrationKind> kind) {
  if (!kind) {
    const std::optional<BinaryFit> binary = detectBinary(input->data);
    kind = binary ? binary->kind : detectText(input->data);
  }
  ParsedCalibration parsed = {*kind, newMessage(*kind)};
  parseInput(input, parsed.message.get());
  return parsed;
}

InputFormat parseExpected(CalibrationInput* input, CalibrationKind kind, Message* message) {
  const InputFormat format = parseInput(input, message);
  if (format == InputFormat::kText) return format;
  const std::optional<BinaryFit> best = detectBinary(input->data);
  if (best && best->unknown_fields < countUnknownFields(*message)) {
    throw ToolError(fmt::format("{}: holds the calibration of {}, not of {}", input->name,
                                describeKind(best->kind), describeKind(kind)));
  }
  return format;
}

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

}  // namespace norv::tools
