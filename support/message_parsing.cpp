#include "support/message_parsing.h"

#include <google/protobuf/io/tokenizer.h>
#include <google/protobuf/text_format.h>

#include <climits>

namespace norv {
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

bool parseBinary(const std::string& data, google::protobuf::Message* message) {
  return !isTooLarge(data) && message->ParseFromString(data);
}

bool parseText(const std::string& data, google::protobuf::Message* message, TextParseError* error) {
  FirstError collector(error);
  google::protobuf::TextFormat::Parser parser;
  parser.RecordErrorsTo(&collector);
  parser.SetRecursionLimit(kMaxNesting);
  return parser.ParseFromString(data, message);
}

bool parseBinaryOrText(const std::string& data, google::protobuf::Message* message) {
  return parseBinary(data, message) || parseText(data, message);
}

}  // namespace norv
