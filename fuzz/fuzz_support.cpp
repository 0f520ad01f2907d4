#include "fuzz/fuzz_support.h"

#include <google/protobuf/text_format.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "support/logging.h"
#include "support/message_parsing.h"
#include "support/message_printing.h"
#include "support/messages/embedded_files.h"

namespace norv {
namespace {

constexpr internal::EmbeddedFileEntry kFiles[] = {
    {"calibration/default_base_cal.txt",
     "wheel_base: 0.5\n"
     "global_transform_adjustment {\n"
     "  global_transform { a: [1, 0, 0, 10, 0, 1, 0, 0, 0, 0, 1, 0] }\n"
     "}\n"},
    {"calibration/default_head_cal.txt",
     "camera_calibration {\n"
     "  name: \"default\" model: \"mk513n\"\n"
     "  intrinsics {\n"
     "    fx: 1 fy: 1 cx: 1 cy: 1 width: 2 height: 2\n"
     "    radial: [0, 0, 0, 0, 0, 0] tangential: [0, 0]\n"
     "  }\n"
     "  extrinsics { a: [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0] }\n"
     "}\n"},
};

}  // namespace

internal::EmbeddedFileTable internal::embeddedFiles() { return {kFiles, std::size(kFiles)}; }

namespace fuzz {
namespace {

using google::protobuf::Message;

std::string printText(const Message& message) {
  std::string text;
  google::protobuf::TextFormat::PrintToString(message, &text);
  return text;
}

}  // namespace

void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "not as required: %s\n", what);
  std::abort();
}

std::string asString(const std::uint8_t* data, std::size_t size) {
  return std::string(data, data + size);
}

void silenceLogs() { setLogLevel(nullptr, 0); }

bool sameMessage(const Message& a, const Message& b) {
  // The text prints every number so that it reads back exactly, and NaN as one word.
  return printText(a) == printText(b);
}

void requireRoundTrip(const Message& message) {
  const std::unique_ptr<Message> again(message.New());
  require(norv::parseBinary(message.SerializeAsString(), again.get()), "binary reads again");
  require(sameMessage(message, *again), "binary reads back the same");
  // Unknown fields print, but do not parse.
  const std::unique_ptr<Message> known(message.New());
  known->CopyFrom(message);
  known->DiscardUnknownFields();
  require(norv::parseText(printText(*known), again.get()), "text reads again");
  require(sameMessage(*known, *again), "text reads back the same");
  require(norv::parseText(norv::printText(message), again.get()), "a person's text reads again");
  require(!norv::listTextLosses(*known).empty() ||
              known->SerializeAsString() == again->SerializeAsString(),
          "a person's text reads back to the last bit");
}

}  // namespace fuzz
}  // namespace norv
