#pragma once

/// Messages in text format, in any of the ways in which the format lets them be written.

#include <google/protobuf/descriptor.h>

#include <algorithm>
#include <initializer_list>
#include <random>
#include <string>
#include <vector>

namespace norv::testing {

/// Writes random messages. Elements of repeated fields are written alone and in lists, braces and
/// angle brackets, separators, colons, blanks and comments are mixed.
class RandomText {
 public:
  RandomText(int seed, bool with_lists)
      : random_(static_cast<std::mt19937_64::result_type>(seed)), with_lists_(with_lists) {}

  std::string message(const google::protobuf::Descriptor& type) {
    std::vector<std::string> parts;
    for (int i = 0; i < type.field_count(); ++i) addField(*type.field(i), &parts);
    std::shuffle(parts.begin(), parts.end(), random_);
    std::string text;
    for (const std::string& part : parts) text += part + pick({"", ",", ";"}) + blank();
    return text;
  }

 private:
  using Field = google::protobuf::FieldDescriptor;

  void addField(const Field& field, std::vector<std::string>* parts) {
    if (!field.is_repeated()) {
      if (below(3) > 0) parts->push_back(alone(field));
      return;
    }
    for (int count = below(4); count > 0; --count) {
      parts->push_back(with_lists_ && below(2) == 0 ? list(field) : alone(field));
    }
  }

  std::string alone(const Field& field) { return field.name() + colon(field) + value(field); }

  std::string list(const Field& field) {
    std::string text = field.name() + colon(field) + "[" + maybeBlank();
    const int count = below(4);
    for (int i = 0; i < count; ++i) {
      text += (i > 0 ? "," + maybeBlank() : "") + value(field) + maybeBlank();
    }
    return text + "]";
  }

  std::string colon(const Field& field) {
    const bool needed = field.message_type() == nullptr;
    return maybeBlank() + (needed || below(2) == 0 ? ":" : "") + maybeBlank();
  }

  std::string value(const Field& field) {
    switch (field.cpp_type()) {
      case Field::CPPTYPE_MESSAGE: {
        const bool braces = below(2) == 0;
        return (braces ? "{" : "<") + blank() + message(*field.message_type()) +
               (braces ? "}" : ">");
      }
      case Field::CPPTYPE_STRING:
        return pick({"\"a\"", "'b { c: 1 }'", "\"d\" 'e' \"[\"", "\"#\"\n\"\\\"\"", "''"});
      case Field::CPPTYPE_INT32:
      case Field::CPPTYPE_INT64:
        return pick({"0", "17", "-3", "- 4", "0x1F", "-077"});
      default:
        return pick(
            {"0", "1.5", "-2e-3", "- 7", ".5", "3f", "inf", "-inf", "nan", "-nan", "1e400"});
    }
  }

  std::string blank() { return pick({" ", "\n", "\t", " # { [ < name: \"\n", "\r\n  "}); }
  std::string maybeBlank() { return below(3) == 0 ? blank() : ""; }

  std::string pick(std::initializer_list<const char*> choices) {
    return choices.begin()[below(static_cast<int>(choices.size()))];
  }
  int below(int count) {
    return static_cast<int>(random_() % static_cast<std::mt19937_64::result_type>(count));
  }

  std::mt19937_64 random_;
  bool with_lists_;
};

}  // namespace norv::testing
