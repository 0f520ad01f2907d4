#include "support/messages/message_reading.h"

#include <google/protobuf/io/tokenizer.h>
#include <google/protobuf/text_format.h>

#include <climits>
#include <cstddef>

namespace norv::internal {
namespace {

/// Deeper than any message of ours; keeps a hostile text from exhausting the stack.
constexpr int kMaxNesting = 100;

/// Keeps the first error and drops warnings; the default collector would print both.
class FirstError final : public google::protobuf::io::ErrorCollector {
 public:
  explicit FirstError(TextParseError* error) : error_(error) {}

  void AddError(int line, google::protobuf::io::ColumnNumber column,
                const std::string& message) override {
    // Places are counted from 0, and -1 stands for none.
    if (error_ != nullptr) *error_ = {line + 1, column + 1, message};
    error_ = nullptr;
  }

  void AddWarning(int /*line*/, google::protobuf::io::ColumnNumber /*column*/,
                  const std::string& /*message*/) override {}

 private:
  TextParseError* error_;
};

bool isTooLarge(const std::string& data) { return data.size() > static_cast<std::size_t>(INT_MAX); }

}  // namespace

bool readBinary(const std::string& data, google::protobuf::Message* message) {
  // Required fields are asked for here, since Protocol Buffers would print a line.
  return !isTooLarge(data) && message->ParsePartialFromString(data) && message->IsInitialized();
}

bool readText(const std::string& data, google::protobuf::Message* message, TextParseError* error) {
  FirstError collector(error);
  google::protobuf::TextFormat::Parser parser;
  parser.RecordErrorsTo(&collector);
  parser.SetRecursionLimit(kMaxNesting);
  return parser.ParseFromString(data, message);
}

bool readBinaryOrText(const std::string& data, google::protobuf::Message* message) {
  return readBinary(data, message) || readText(data, message);
}

}  // namespace norv::internal
