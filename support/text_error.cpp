#include "support/text_error.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <string_view>
#include <tuple>
#include <vector>

namespace norv {
namespace {

using google::protobuf::Descriptor;
using google::protobuf::FieldDescriptor;
using Fields = std::vector<TextField>;

bool contains(const std::string& text, const char* part) {
  return text.find(part) != std::string::npos;
}

bool isBefore(TextPlace a, TextPlace b) {
  return std::tie(a.line, a.column) < std::tie(b.line, b.column);
}

std::string_view lastStep(const std::string& path) {
  const std::size_t period = path.rfind('.');
  const std::string_view step =
      std::string_view(path).substr(period == std::string::npos ? 0 : period + 1);
  return step.substr(0, step.find('['));
}

/// The name that an error says is unknown, or there more than once; "" of other errors.
std::string nameInError(const std::string& message) {
  if (!contains(message, "has no field named \"") && !contains(message, "Non-repeated field \"")) {
    return "";
  }
  const std::size_t end = message.rfind('"');
  const std::size_t begin = message.rfind('"', end - 1) + 1;
  return message.substr(begin, end - begin);
}

/// The last field of that name before a place, or null.
const TextField* fieldBefore(const Fields& fields, const std::string& name, TextPlace place) {
  const auto found = std::find_if(fields.rbegin(), fields.rend(), [&](const TextField& field) {
    return isBefore(field.begin, place) && lastStep(field.path) == name;
  });
  return found != fields.rend() ? &*found : nullptr;
}

/// " Is the brace missing ...?" when a field that its block does not know belongs around the
/// block.
std::string askForBrace(const Fields& fields, const Descriptor& type, const std::string& path) {
  const std::string name(lastStep(path));
  const Descriptor* around = &type;
  std::string inner;  // the outermost block inside of the last one that knows the field
  std::size_t begin = 0;
  for (std::size_t end = path.find('.'); end != std::string::npos; end = path.find('.', begin)) {
    const std::string step = path.substr(begin, end - begin);
    const FieldDescriptor* block = around->FindFieldByName(step.substr(0, step.find('[')));
    if (block == nullptr) return "";
    if (around->FindFieldByName(name) != nullptr) inner = path.substr(0, end);
    around = block->message_type();
    begin = end + 1;
  }
  if (inner.empty() || around->FindFieldByName(name) != nullptr) return "";
  return " Is the brace missing that closes the block of line " +
         std::to_string(findField(fields, inner)->brace.line) + "?";
}

/// Of an error about a field's name.
TextProblem explainName(const Fields& fields, const Descriptor& type, const TextField& field,
                        const std::string& message) {
  return {field.begin, field.path, message + askForBrace(fields, type, field.path)};
}

bool isOpen(const TextField& field) { return field.end.line == 0; }

/// Of a text that ends inside of something.
TextProblem explainEnd(const Fields& fields, TextPlace place) {
  const auto inner = std::find_if(fields.rbegin(), fields.rend(), isOpen);
  const auto block = std::find_if(inner, fields.rend(), [](const TextField& field) {
    return isOpen(field) && field.brace.line > 0;
  });
  const std::string path = inner != fields.rend() ? inner->path : "";
  if (block == fields.rend()) return {place, path, "the text ends too early"};
  return {place, path,
          "the text ends, and the block opened in line " + std::to_string(block->brace.line) +
              " is not closed"};
}

/// Where a place is in a text; the end of the text if it has no such place.
std::size_t offsetOf(const std::string& text, TextPlace place) {
  std::size_t offset = 0;
  for (int line = 1; line < place.line && offset != std::string::npos; ++line) {
    offset = text.find('\n', offset);
    if (offset != std::string::npos) ++offset;
  }
  if (offset == std::string::npos) return text.size();
  constexpr int kTabWidth = 8;
  for (int column = 1; column < place.column && offset < text.size(); ++offset) {
    column = text[offset] == '\t' ? column + kTabWidth - (column - 1) % kTabWidth : column + 1;
  }
  return offset;
}

bool isDigit(char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; }

/// Whether a place is behind the comma in what was meant as a number, such as 1,5.
bool followsDecimalComma(const std::string& text, TextPlace place) {
  const std::size_t offset = offsetOf(text, place);
  return offset >= 2 && offset < text.size() && isDigit(text[offset]) && text[offset - 1] == ',' &&
         isDigit(text[offset - 2]);
}

}  // namespace

TextProblem explainTextError(const std::string& text, const Descriptor& type,
                             const TextParseError& error) {
  const Fields fields = listTextFields(text, type);
  const TextPlace place = {error.line, error.column};
  const std::string name = nameInError(error.message);
  if (!name.empty()) {
    const TextField* field = fieldBefore(fields, name, place);
    if (field != nullptr) return explainName(fields, type, *field, error.message);
  }
  if (offsetOf(text, place) == text.size() && contains(error.message, "Expected ")) {
    return explainEnd(fields, place);
  }
  if (followsDecimalComma(text, place)) {
    const TextField* field = fieldAt(fields, {place.line, place.column - 2});
    return {{place.line, place.column - 1},
            field != nullptr ? field->path : "",
            "a number with a decimal comma; write a point"};
  }
  const TextField* field = fieldAt(fields, place);
  return {place, field != nullptr ? field->path : "", error.message};
}

}  // namespace norv
