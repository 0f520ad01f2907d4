// What kind of calibration data holds.

#include <array>
#include <cstddef>
#include <tuple>
#include <utility>

#include "python/bindings/calibration_source.h"
#include "support/message_parsing.h"
#include "support/text_fields.h"

namespace norv::python {
namespace {

using google::protobuf::Message;

constexpr std::array<Kind, 3> kKinds = {Kind::kRobot, Kind::kPtz, Kind::kBase};

/// Bytes of a message that its type does not know what to do with. Counting fields instead would
/// take a calibration of many cameras, each with a field of a later version, for one of a kind
/// that knows nothing of it: a single large field.
std::size_t countUnknownBytes(Message* message) {
  const std::size_t all = message->ByteSizeLong();
  message->DiscardUnknownFields();
  return all - message->ByteSizeLong();
}

std::optional<Kind> detectBinary(const std::string& data) {
  std::optional<Kind> best;
  std::size_t fewest = 0;
  for (const Kind kind : kKinds) {
    const auto message = newMessage(kind);
    if (!parseBinary(data, message.get())) continue;
    const std::size_t unknown = countUnknownBytes(message.get());
    if (best && unknown >= fewest) continue;
    best = kind;
    fewest = unknown;
  }
  return best;
}

/// The kind that takes most of the data; the first where none takes any.
Kind detectJson(const std::string& data) {
  Kind best = kKinds[0];
  std::size_t most = 0;
  for (const Kind kind : kKinds) {
    const auto message = newMessage(kind);
    if (readJson(data, message.get(), /*ignore_unknown=*/true)) continue;
    const std::size_t size = message->ByteSizeLong();
    if (size <= most) continue;
    best = kind;
    most = size;
  }
  return best;
}

/// How well a text fits: whether it parses, how many of its fields are known, how far the parser
/// came. A mistyped name may stand anywhere, so that the fields count first.
std::tuple<bool, std::ptrdiff_t, int, int> fitOf(const std::string& data, Kind kind) {
  const auto message = newMessage(kind);
  TextParseError error;
  if (parseText(data, message.get(), &error)) return {true, 0, 0, 0};
  std::ptrdiff_t known = 0;
  for (const TextField& field : listTextFields(data, *message->GetDescriptor())) {
    known += field.is_known ? 1 : 0;
  }
  return {false, known, error.line, error.column};
}

Kind detectText(const std::string& data) {
  Kind best = kKinds[0];
  auto best_fit = fitOf(data, best);
  for (std::size_t i = 1; i < kKinds.size() && !std::get<0>(best_fit); ++i) {
    auto fit = fitOf(data, kKinds[i]);
    if (fit <= best_fit) continue;
    best = kKinds[i];
    best_fit = fit;
  }
  return best;
}

}  // namespace

Kind detectKind(const std::string& data) {
  if (const std::optional<Kind> binary = detectBinary(data)) return *binary;
  if (looksLikeJson(data)) return detectJson(data);
  return looksLikeText(data) ? detectText(data) : kKinds[0];
}

}  // namespace norv::python
