#include "tools/input/text_fields.h"

#include <google/protobuf/io/tokenizer.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>

#include <algorithm>
#include <map>
#include <tuple>

namespace norv::tools {
namespace {

using google::protobuf::Descriptor;
using google::protobuf::FieldDescriptor;
using google::protobuf::io::ArrayInputStream;
using google::protobuf::io::ColumnNumber;
using google::protobuf::io::ErrorCollector;
using google::protobuf::io::Tokenizer;

/// Errors have been reported by the parser already.
class NoErrors final : public ErrorCollector {
 public:
  void AddError(int /*line*/, ColumnNumber /*column*/, const std::string& /*message*/) override {}
};

/// A message that the scan is inside of.
struct OpenMessage {
  std::string path;        ///< with a trailing period; empty at the top
  const Descriptor* type;  ///< null inside a field that is not known
  std::map<std::string, int> repeated;
};

class FieldScanner {
 public:
  FieldScanner(const std::string& text, const Descriptor& type)
      : input_(text.data(), static_cast<int>(text.size())), tokenizer_(&input_, &errors_) {
    tokenizer_.set_comment_style(Tokenizer::SH_COMMENT_STYLE);
    open_.push_back({"", &type, {}});
  }

  std::vector<TextField> scan() {
    while (tokenizer_.Next() && !open_.empty()) readToken(tokenizer_.current());
    return std::move(fields_);
  }

 private:
  void readToken(const Tokenizer::Token& token) {
    const bool is_name =
        token.type == Tokenizer::TYPE_IDENTIFIER && !after_colon_ && list_depth_ == 0;
    if (is_name) beginField(token);
    if (token.text == "{" || token.text == "<") {
      openMessage();
    } else if (token.text == "}" || token.text == ">") {
      open_.pop_back();
    } else if (token.text == "[") {
      ++list_depth_;
    } else if (token.text == "]") {
      --list_depth_;
    }
    after_colon_ = token.text == ":";
  }

  void beginField(const Tokenizer::Token& token) {
    const OpenMessage& parent = open_.back();
    name_ = token.text;
    field_ = parent.type != nullptr ? parent.type->FindFieldByName(name_) : nullptr;
    path_ = parent.path + name_;
    if (field_ != nullptr && field_->is_repeated() && field_->message_type() != nullptr) {
      path_ += "[" + std::to_string(open_.back().repeated[name_]++) + "]";
    }
    fields_.push_back({path_, token.line + 1, token.column + 1});
  }

  void openMessage() {
    open_.push_back({path_ + ".", field_ != nullptr ? field_->message_type() : nullptr, {}});
  }

  NoErrors errors_;
  ArrayInputStream input_;
  Tokenizer tokenizer_;
  std::vector<OpenMessage> open_;
  std::vector<TextField> fields_;
  std::string name_;
  std::string path_;
  const FieldDescriptor* field_ = nullptr;
  bool after_colon_ = false;
  int list_depth_ = 0;
};

}  // namespace

std::vector<TextField> listTextFields(const std::string& text, const Descriptor& type) {
  return FieldScanner(text, type).scan();
}

const TextField* fieldAt(const std::vector<TextField>& fields, int line, int column) {
  const auto after = std::find_if(fields.begin(), fields.end(), [&](const TextField& field) {
    return std::tie(field.line, field.column) > std::tie(line, column);
  });
  return after != fields.begin() ? &*(after - 1) : nullptr;
}

const TextField* findField(const std::vector<TextField>& fields, const std::string& path) {
  const auto found = std::find_if(fields.begin(), fields.end(),
                                  [&](const TextField& field) { return field.path == path; });
  if (found != fields.end()) return &*found;
  const std::size_t period = path.rfind('.');
  return period != std::string::npos ? findField(fields, path.substr(0, period)) : nullptr;
}

}  // namespace norv::tools
