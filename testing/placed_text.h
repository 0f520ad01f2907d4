#pragma once

/// Messages written as texts whose places are known.

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>
#include <google/protobuf/text_format.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace norv::testing {

/// How elements of repeated fields are written.
enum class ListStyle {
  kSingle,  ///< each with the field's name
  kListed,  ///< all of a field in one list
  kMixed,   ///< the first in a list, the second by itself, the others in another list
};

/// Writes a message in text format and remembers where each of its fields begins: an element of a
/// list at its value, anything else at its name. Lines and columns count from 1.
class PlacedText {
 public:
  PlacedText(const google::protobuf::Message& message, ListStyle style) : style_(style) {
    writeMessage(message, "");
  }

  const std::string& text() const { return text_; }

  /// Of a field or element of that path; of a list, its first place. Where the message has none, of
  /// the innermost message around it that it has; line 0 for the whole.
  std::pair<int, int> place(const std::string& path) const {
    const auto found = places_.find(path);
    if (found != places_.end()) return found->second;
    const std::size_t period = path.rfind('.');
    return period == std::string::npos ? std::pair(0, 0) : place(path.substr(0, period));
  }

 private:
  using Field = google::protobuf::FieldDescriptor;
  using Message = google::protobuf::Message;

  void write(const std::string& part) {
    text_ += part;
    for (const char c : part) {
      column_ = c == '\n' ? 1 : column_ + 1;
      line_ += c == '\n' ? 1 : 0;
    }
  }

  void note(const std::string& path) { places_.emplace(path, std::pair(line_, column_)); }

  void writeMessage(const Message& message, const std::string& prefix) {
    std::vector<const Field*> fields;
    message.GetReflection()->ListFields(message, &fields);
    for (const Field* field : fields) {
      if (field->is_repeated()) {
        writeRepeated(message, *field, prefix + field->name());
      } else {
        begin(*field, {prefix + field->name()});
        writeValue(message, *field, -1, prefix + field->name());
        write("\n");
      }
    }
  }

  void writeRepeated(const Message& message, const Field& field, const std::string& path) {
    const int size = message.GetReflection()->FieldSize(message, &field);
    if (style_ == ListStyle::kSingle) {
      for (int i = 0; i < size; ++i) writeSingle(message, field, i, path);
    } else if (style_ == ListStyle::kListed) {
      writeList(message, field, 0, size, path);
    } else {
      writeList(message, field, 0, 1, path);
      if (size > 1) writeSingle(message, field, 1, path);
      if (size > 2) writeList(message, field, 2, size, path);
    }
  }

  /// Writes a field's name, which the paths stand for.
  void begin(const Field& field, const std::vector<std::string>& paths) {
    write(std::string(static_cast<std::size_t>(2 * depth_), ' '));
    for (const std::string& path : paths) note(path);
    write(field.name() + ": ");
  }

  void writeSingle(const Message& message, const Field& field, int index, const std::string& path) {
    const std::string element = path + "[" + std::to_string(index) + "]";
    begin(field, {path, element});
    writeValue(message, field, index, element);
    write("\n");
  }

  void writeList(const Message& message, const Field& field, int first, int end,
                 const std::string& path) {
    begin(field, {path});
    write("[");
    for (int i = first; i < end; ++i) {
      write(i == first ? "" : i % 3 == 0 ? ",  # three a line\n" : ", ");
      const std::string element = path + "[" + std::to_string(i) + "]";
      note(element);
      writeValue(message, field, i, element);
    }
    write("]\n");
  }

  void writeValue(const Message& message, const Field& field, int index, const std::string& path) {
    if (field.message_type() == nullptr) {
      std::string value;
      google::protobuf::TextFormat::PrintFieldValueToString(message, &field, index, &value);
      write(value);
      return;
    }
    const auto* reflection = message.GetReflection();
    write("{\n");
    ++depth_;
    writeMessage(index < 0 ? reflection->GetMessage(message, &field)
                           : reflection->GetRepeatedMessage(message, &field, index),
                 path + ".");
    --depth_;
    write(std::string(static_cast<std::size_t>(2 * depth_), ' ') + "}");
  }

  ListStyle style_;
  std::string text_;
  std::map<std::string, std::pair<int, int>> places_;
  int line_ = 1;
  int column_ = 1;
  int depth_ = 0;
};

}  // namespace norv::testing
