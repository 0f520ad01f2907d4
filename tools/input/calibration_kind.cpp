#include "tools/input/calibration_kind.h"

#include <fmt/format.h>
#include <google/protobuf/descriptor.h>
#include <google/protobuf/unknown_field_set.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <tuple>
#include <utility>
#include <vector>

#include "proto/norv_base_calibration.pb.h"
#include "proto/norv_ptz_camera.pb.h"
#include "proto/norv_robot_calibration.pb.h"
#include "support/message_parsing.h"
#include "support/text_fields.h"
#include "tools/input/input_error.h"
#include "tools/input/json_reading.h"

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
  std::size_t unknown_bytes;
};

/// Bytes of a message that its type does not know what to do with. Counting fields instead would
/// take a calibration of many cameras, each with a field of a later version, for one of a kind
/// that knows nothing of it: a single large field.
std::size_t countUnknownBytes(Message* message) {
  const std::size_t all = message->ByteSizeLong();
  message->DiscardUnknownFields();
  return all - message->ByteSizeLong();
}

/// What a binary message fits best, if it is one.
std::optional<BinaryFit> detectBinary(const std::string& data) {
  std::optional<BinaryFit> best;
  for (const CalibrationKind kind : kKinds) {
    const std::unique_ptr<Message> message = newMessage(kind);
    if (!norv::parseBinary(data, message.get())) continue;
    const std::size_t unknown = countUnknownBytes(message.get());
    if (!best || unknown < best->unknown_bytes) best = {kind, unknown};
  }
  return best;
}

struct TextFit {
  CalibrationKind kind;
  std::unique_ptr<Message> message;  ///< null where it does not parse
  std::ptrdiff_t known_fields;  ///< of the text, which may be of another kind; 0 where it parses
  std::pair<int, int> end;      ///< line and column where the parser stopped

  bool parses() const { return message != nullptr; }
};

TextFit fitText(const std::string& data, CalibrationKind kind) {
  std::unique_ptr<Message> message = newMessage(kind);
  norv::TextParseError error;
  if (norv::parseText(data, message.get(), &error)) return {kind, std::move(message), 0, {}};
  const std::vector<TextField> fields = listTextFields(data, *message->GetDescriptor());
  const auto known = std::count_if(fields.begin(), fields.end(),
                                   [](const TextField& field) { return field.is_known; });
  return {kind, nullptr, known, {error.line, error.column}};
}

/// Whether a text fits one kind better than another. A mistyped name may stand anywhere, so that
/// the fields count and then how far the parser came.
bool isBetter(const TextFit& a, const TextFit& b) {
  if (a.parses() != b.parses()) return a.parses();
  return std::tie(a.known_fields, a.end) > std::tie(b.known_fields, b.end);
}

/// What a text fits best: the kind that it parses as, or else the one that has most of its fields.
TextFit detectText(const std::string& data) {
  TextFit best = fitText(data, kKinds[0]);
  for (std::size_t i = 1; i < kKinds.size() && !best.parses(); ++i) {
    TextFit fit = fitText(data, kKinds[i]);
    if (isBetter(fit, best)) best = std::move(fit);
  }
  return best;
}

/// What JSON fits best: the kind that takes most of its data; the first where it is none.
CalibrationKind detectJson(const std::string& data) {
  CalibrationKind best = kKinds[0];
  std::size_t most = 0;
  for (const CalibrationKind kind : kKinds) {
    const std::unique_ptr<Message> message = newMessage(kind);
    const bool read = !readJson(data, message.get(), /*ignore_unknown=*/true);
    const std::size_t size = read ? message->ByteSizeLong() : 0;
    if (size <= most) continue;
    best = kind;
    most = size;
  }
  return best;
}

[[noreturn]] void refuseKind(const CalibrationInput& input, const char* verb, CalibrationKind found,
                             CalibrationKind wanted) {
  throw InputError({input.name,
                    {},
                    "",
                    fmt::format("{} the calibration of {}, not of {}", verb, describeKind(found),
                                describeKind(wanted))});
}

/// Refuses a binary message, parsed as `kind`, when it fits another kind better.
void refuseOtherBinary(const CalibrationInput& input, CalibrationKind kind,
                       const Message& message) {
  if (countUnknownFields(message) == 0) return;
  const std::unique_ptr<Message> copy(message.New());
  copy->CopyFrom(message);
  const std::optional<BinaryFit> best = detectBinary(input.data);
  if (best && best->unknown_bytes < countUnknownBytes(copy.get())) {
    refuseKind(input, "holds", best->kind, kind);
  }
}

/// The kind of data that is no text; of what is nothing at all, any, as which it is refused without
/// a search for fields that may take long.
std::optional<CalibrationKind> detectUnlessText(const std::string& data) {
  if (const std::optional<BinaryFit> binary = detectBinary(data)) return binary->kind;
  if (looksLikeJson(data)) return detectJson(data);
  if (looksLikeText(data)) return std::nullopt;
  return kKinds[0];
}

/// Refuses a text that does not parse as `kind` when it fits another kind better.
void refuseOtherKind(const CalibrationInput& input, CalibrationKind kind) {
  const TextFit best = detectText(input.data);
  if (!isBetter(best, fitText(input.data, kind))) return;
  refuseKind(input, best.parses() ? "holds" : "resembles", best.kind, kind);
}

/// Parses the input as a kind that it may not be of.
InputFormat parseAsKind(CalibrationInput* input, CalibrationKind kind, Message* message) {
  try {
    return parseInput(input, message);
  } catch (const InputError&) {
    if (input->text_type != nullptr) refuseOtherKind(*input, kind);
    const bool is_json = looksLikeJson(input->data);
    if (is_json && detectJson(input->data) != kind) {
      refuseKind(*input, "resembles", detectJson(input->data), kind);
    }
    throw;
  }
}

/// Parses the input, which is neither binary nor JSON, as the kind that it fits best.
ParsedCalibration parseAnyText(CalibrationInput* input) {
  TextFit fit = detectText(input->data);
  if (!fit.parses()) {
    fit.message = newMessage(fit.kind);
    parseInput(input, fit.message.get());  // throws what is wrong with it
  }
  input->text_type = fit.message->GetDescriptor();
  return {fit.kind, std::move(fit.message), InputFormat::kText};
}

}  // namespace

std::optional<CalibrationKind> parseCalibrationKind(const std::string& name) {
  if (name == "robot") return CalibrationKind::kRobot;
  if (name == "ptz") return CalibrationKind::kPtz;
  if (name == "base") return CalibrationKind::kBase;
  return std::nullopt;
}

const char* kindName(CalibrationKind kind) {
  switch (kind) {
    case CalibrationKind::kRobot:
      return "robot";
    case CalibrationKind::kPtz:
      return "ptz";
    case CalibrationKind::kBase:
      break;
  }
  return "base";
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
  if (!kind) kind = detectUnlessText(input->data);
  if (!kind) return parseAnyText(input);
  ParsedCalibration parsed = {*kind, newMessage(*kind), InputFormat::kBinary};
  parsed.format = parseAsKind(input, *kind, parsed.message.get());
  return parsed;
}

void requireBestKind(const CalibrationInput& input, const ParsedCalibration& parsed) {
  if (parsed.format == InputFormat::kBinary) refuseOtherBinary(input, parsed.kind, *parsed.message);
}

InputFormat parseExpected(CalibrationInput* input, CalibrationKind kind, Message* message) {
  if (input->data.empty()) throw InputError({input->name, {}, "", "is empty"});
  const InputFormat format = parseAsKind(input, kind, message);
  if (format == InputFormat::kBinary) refuseOtherBinary(*input, kind, *message);
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
