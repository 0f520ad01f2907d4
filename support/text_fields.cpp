#include "support/text_fields.h"

#include <google/protobuf/io/tokenizer.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <map>
#include <tuple>

#include "support/messages/field_visit.h"

namespace norv {
namespace {

using google::protobuf::Descriptor;
using google::protobuf::FieldDescriptor;
using google::protobuf::io::ArrayInputStream;
using google::protobuf::io::ColumnNumber;
using google::protobuf::io::ErrorCollector;
using google::protobuf::io::Tokenizer;

/// As the library's parser has it; keeps a hostile text from exhausting the stack.
constexpr int kMaxNesting = 100;

/// Remembers that there was an error, which the parser has reported already.
class ErrorFlag final : public ErrorCollector {
 public:
  void AddError(int /*line*/, ColumnNumber /*column*/, const std::string& /*message*/) override {
    raised_ = true;
  }
  bool raised() const { return raised_; }

 private:
  bool raised_ = false;
};

/// The tokens of a text, up to the first that is none.
class Tokens {
 public:
  explicit Tokens(const std::string& text)
      : input_(text.data(), static_cast<int>(text.size())), tokenizer_(&input_, &error_) {
    // The settings of Protocol Buffers' own parser of texts.
    tokenizer_.set_allow_f_after_float(true);
    tokenizer_.set_comment_style(Tokenizer::SH_COMMENT_STYLE);
    next();
  }

  bool is(const char* symbol) { return !error_.raised() && tokenizer_.current().text == symbol; }
  bool is(Tokenizer::TokenType type) {
    return !error_.raised() && tokenizer_.current().type == type;
  }
  const std::string& text() { return tokenizer_.current().text; }

  void next() { tokenizer_.Next(); }
  bool take(const char* symbol) {
    if (!is(symbol)) return false;
    next();
    return true;
  }
  bool take(Tokenizer::TokenType type) {
    if (!is(type)) return false;
    next();
    return true;
  }

  /// Of the current token.
  TextPlace place() { return {tokenizer_.current().line + 1, tokenizer_.current().column + 1}; }
  /// Behind the token before the current one.
  TextPlace endOfPrevious() {
    return {tokenizer_.previous().line + 1, tokenizer_.previous().end_column + 1};
  }

 private:
  ErrorFlag error_;
  ArrayInputStream input_;
  Tokenizer tokenizer_;
};

/// Reads a text by the grammar of the format and lists its fields, or shows them to a visitor. The
/// functions return false when the text does not follow the grammar; nothing is read from there on.
class FieldScanner {
 public:
  explicit FieldScanner(const std::string& text, const internal::FieldVisit* visit = nullptr)
      : tokens_(text), visit_(visit) {}

  std::vector<TextField> scan(const Descriptor& type) {
    Message top = {"", &type, true, {}};
    while (!tokens_.is(Tokenizer::TYPE_END) && readField(&top)) {
    }
    return std::move(fields_);
  }

 private:
  /// A message that the scan is inside of.
  struct Message {
    std::string prefix;      ///< of the paths of its fields
    const Descriptor* type;  ///< null where it is not known
    bool matters;            ///< whether its fields have paths and are listed or shown
    std::map<std::string, int> elements;
  };

  /// A field whose value is read.
  struct Field {
    std::string path;
    const FieldDescriptor* type;  ///< null where it is not known
    bool matters;
    int* elements;  ///< how many of them there have been; null unless repeated

    bool takesMessage() const { return type == nullptr || type->message_type() != nullptr; }
    bool takesScalar() const { return type == nullptr || type->message_type() == nullptr; }
    bool takesList() const { return type == nullptr || type->is_repeated(); }
    /// The path of the next value.
    std::string nextPath() const {
      return elements != nullptr ? path + "[" + std::to_string((*elements)++) + "]" : path;
    }
  };

  /// One value of a field.
  struct Entry {
    std::string path;   ///< unless it is listed, or does not matter
    std::size_t index;  ///< in the list; `kNotListed` where it is not
    bool matters;       ///< what it contains
  };
  static constexpr std::size_t kNotListed = static_cast<std::size_t>(-1);

  bool readField(Message* message) {
    const TextPlace begin = tokens_.place();
    Field field = {};
    if (tokens_.is("[")) {
      if (!skipBracketedName()) return false;
      return readValues(field, begin) && takeSeparator();
    }
    if (!tokens_.is(Tokenizer::TYPE_IDENTIFIER)) return false;
    const std::string name = tokens_.text();
    field.matters = message->matters;
    if (field.matters) field.path = message->prefix + name;
    field.type = message->type != nullptr ? message->type->FindFieldByName(name) : nullptr;
    if (field.matters && field.type != nullptr && field.type->is_repeated()) {
      field.elements = &message->elements[name];
    }
    return readValues(field, begin) && takeSeparator();
  }

  /// The name of an extension or of an Any's type, periods and slashes and all.
  bool skipBracketedName() {
    while (!tokens_.is("]")) {
      const bool is_part = tokens_.is("[") || tokens_.is(".") || tokens_.is("/") ||
                           tokens_.is("-") || tokens_.is(Tokenizer::TYPE_IDENTIFIER);
      if (!is_part) return false;
      tokens_.next();
    }
    return true;
  }

  /// Reads on from a field's name, which is the current token.
  bool readValues(const Field& field, TextPlace begin) {
    tokens_.next();
    const bool colon = tokens_.take(":");
    if (tokens_.is("[") && field.takesList() && (colon || field.takesMessage())) {
      return readList(field, begin);
    }
    // A colon is what a message may and anything else must have.
    const Entry entry = list(field, field.nextPath(), begin);
    return (colon || field.takesMessage()) && readValue(field, entry, colon);
  }

  bool readList(const Field& field, TextPlace begin) {
    const Entry entry = list(field, field.path, begin);
    tokens_.next();
    if (!tokens_.is("]")) {
      do {
        if (!readValue(field, list(field, field.nextPath(), tokens_.place()), true)) return false;
      } while (tokens_.take(","));
    }
    return tokens_.take("]") && close(entry);
  }

  bool readValue(const Field& field, const Entry& entry, bool scalar_may_follow) {
    if (tokens_.is("{") || tokens_.is("<"))
      return field.takesMessage() && readMessage(field, entry);
    return scalar_may_follow && field.takesScalar() && readScalar() && close(entry);
  }

  bool readMessage(const Field& field, const Entry& entry) {
    if (nesting_ == kMaxNesting) return false;
    ++nesting_;
    if (entry.index != kNotListed) fields_[entry.index].brace = tokens_.place();
    const char* const closing = tokens_.is("{") ? "}" : ">";
    tokens_.next();
    const std::string& path = entry.index != kNotListed ? fields_[entry.index].path : entry.path;
    Message message = {entry.matters ? path + "." : "",
                       field.type != nullptr ? field.type->message_type() : nullptr,
                       entry.matters,
                       {}};
    while (!tokens_.is(closing)) {
      if (!readField(&message)) return false;
    }
    --nesting_;
    tokens_.next();
    return close(entry);
  }

  bool readScalar() {
    if (tokens_.take(Tokenizer::TYPE_STRING)) {
      // Strings that follow one another are one value.
      while (tokens_.take(Tokenizer::TYPE_STRING)) {
      }
      return true;
    }
    tokens_.take("-");
    return tokens_.take(Tokenizer::TYPE_IDENTIFIER) || tokens_.take(Tokenizer::TYPE_INTEGER) ||
           tokens_.take(Tokenizer::TYPE_FLOAT);
  }

  bool takeSeparator() {
    if (!tokens_.take(",")) tokens_.take(";");
    return true;
  }

  Entry list(const Field& field, std::string path, TextPlace begin) {
    if (!field.matters) return {"", kNotListed, false};
    if (visit_ != nullptr) {
      const bool matters = (*visit_)(path, begin.line, begin.column);
      return {std::move(path), kNotListed, matters};
    }
    fields_.push_back({std::move(path), begin, {}, {}, field.type != nullptr});
    return {"", fields_.size() - 1, true};
  }

  bool close(const Entry& entry) {
    if (entry.index != kNotListed) fields_[entry.index].end = tokens_.endOfPrevious();
    return true;
  }

  Tokens tokens_;
  const internal::FieldVisit* visit_;  ///< null where the fields are listed
  std::vector<TextField> fields_;
  int nesting_ = 0;
};

bool isBefore(TextPlace a, TextPlace b) {
  return std::tie(a.line, a.column) < std::tie(b.line, b.column);
}

/// Whether an entry is of the field or element `path`, or one of its elements.
bool isOf(const TextField& field, const std::string& path) {
  return field.path.compare(0, path.size(), path) == 0 &&
         (field.path.size() == path.size() ||
          (field.path[path.size()] == '[' &&
           field.path.find('.', path.size()) == std::string::npos));
}

}  // namespace

std::vector<TextField> listTextFields(const std::string& text, const Descriptor& type) {
  if (text.size() > static_cast<std::size_t>(INT_MAX)) return {};
  return FieldScanner(text).scan(type);
}

void internal::visitTextFields(const std::string& text, const Descriptor& type,
                               const FieldVisit& visit) {
  if (text.size() <= static_cast<std::size_t>(INT_MAX)) FieldScanner(text, &visit).scan(type);
}

const TextField* fieldAt(const std::vector<TextField>& fields, TextPlace place) {
  const auto found = std::find_if(fields.rbegin(), fields.rend(), [&](const TextField& field) {
    return !isBefore(place, field.begin) && (field.end.line == 0 || isBefore(place, field.end));
  });
  return found != fields.rend() ? &*found : nullptr;
}

const TextField* findField(const std::vector<TextField>& fields, const std::string& path) {
  const auto found = std::find_if(fields.begin(), fields.end(),
                                  [&](const TextField& field) { return isOf(field, path); });
  if (found != fields.end()) return &*found;
  const std::size_t period = path.rfind('.');
  return period != std::string::npos ? findField(fields, path.substr(0, period)) : nullptr;
}

}  // namespace norv
