#include "support/message_printing.h"

#include <google/protobuf/descriptor.h>
#include <google/protobuf/text_format.h>

#include <algorithm>
#include <cstddef>

#include "proto/norv_camera_extrinsics.pb.h"
#include "support/messages/decimal_text.h"
#include "support/messages/string_text.h"

namespace norv {
namespace {

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using google::protobuf::TextFormat;

constexpr std::size_t kIndent = 2;        ///< blanks a level
constexpr std::size_t kMaxColumns = 100;  ///< of lists; where they are longer they go on indented
constexpr int kPoseRow = 4;               ///< values of a row of a pose

std::string formatString(const Message& message, const FieldDescriptor* field, int index) {
  std::string scratch;
  const auto* reflection = message.GetReflection();
  return internal::quoteString(
      index < 0 ? reflection->GetStringReference(message, field, &scratch)
                : reflection->GetRepeatedStringReference(message, field, index, &scratch));
}

/// A value that is no message; `index` -1 for one that is not repeated.
std::string formatScalar(const Message& message, const FieldDescriptor* field, int index) {
  const auto* reflection = message.GetReflection();
  switch (field->cpp_type()) {
    case FieldDescriptor::CPPTYPE_DOUBLE:
      return internal::writeNumber(index < 0
                                       ? reflection->GetDouble(message, field)
                                       : reflection->GetRepeatedDouble(message, field, index));
    case FieldDescriptor::CPPTYPE_FLOAT:
      return internal::writeNumber(index < 0 ? reflection->GetFloat(message, field)
                                             : reflection->GetRepeatedFloat(message, field, index));
    case FieldDescriptor::CPPTYPE_STRING:
      return formatString(message, field, index);
    default:
      break;
  }
  std::string text;
  TextFormat::PrintFieldValueToString(message, field, index, &text);
  return text;
}

std::string nameOf(const FieldDescriptor* field) {
  if (field->is_extension()) return "[" + field->PrintableNameForExtension() + "]";
  // A group is written by the name of its type.
  return field->type() == FieldDescriptor::TYPE_GROUP ? field->message_type()->name()
                                                      : field->name();
}

bool isMessage(const FieldDescriptor* field) { return field->message_type() != nullptr; }

/// Whether the elements of a list of messages stand on one line each: those that hold numbers
/// alone, such as samples.
bool standsOnOneLine(const FieldDescriptor* field) {
  if (!field->is_repeated()) return false;
  const auto* type = field->message_type();
  if (type->extension_range_count() > 0) return false;
  for (int i = 0; i < type->field_count(); ++i) {
    const FieldDescriptor* part = type->field(i);
    if (part->is_repeated() || isMessage(part)) return false;
    if (part->cpp_type() == FieldDescriptor::CPPTYPE_STRING) return false;
  }
  return true;
}

/// How many values of a list stand on one line, named anew on each; 0 where they stand together.
int rowLengthOf(const FieldDescriptor* field) {
  const FieldDescriptor* pose = calibration::CameraExtrinsics::descriptor()->FindFieldByNumber(
      calibration::CameraExtrinsics::kAFieldNumber);
  return field == pose ? kPoseRow : 0;
}

/// Writes a message from its top to its end.
class Printer {
 public:
  std::string print(const Message& message) {
    printFields(message);
    return std::move(text_);
  }

 private:
  void printFields(const Message& message) {
    std::vector<const FieldDescriptor*> fields;
    message.GetReflection()->ListFields(message, &fields);
    for (const FieldDescriptor* field : fields) printField(message, field);
  }

  void printField(const Message& message, const FieldDescriptor* field) {
    const auto* reflection = message.GetReflection();
    const int size = field->is_repeated() ? reflection->FieldSize(message, field) : 0;
    if (isMessage(field)) {
      if (!field->is_repeated()) printBlock(field, reflection->GetMessage(message, field));
      for (int i = 0; i < size; ++i) {
        printBlock(field, reflection->GetRepeatedMessage(message, field, i));
      }
    } else if (field->is_repeated()) {
      const int row = rowLengthOf(field) > 0 ? rowLengthOf(field) : size;
      for (int i = 0; i < size; i += row) printRow(message, field, i, std::min(size, i + row));
    } else {
      beginLine(nameOf(field) + ": " + formatScalar(message, field, -1));
      text_ += '\n';
    }
  }

  void printBlock(const FieldDescriptor* field, const Message& message) {
    if (standsOnOneLine(field)) {
      printLine(field, message);
      return;
    }
    // The large parts of a file stand apart.
    if (depth_ == 0 && !text_.empty()) text_ += '\n';
    beginLine(nameOf(field) + " {\n");
    ++depth_;
    printFields(message);
    --depth_;
    beginLine("}\n");
  }

  void printLine(const FieldDescriptor* field, const Message& message) {
    beginLine(nameOf(field) + " {");
    std::vector<const FieldDescriptor*> parts;
    message.GetReflection()->ListFields(message, &parts);
    for (const FieldDescriptor* part : parts) {
      text_ += " " + nameOf(part) + ": " + formatScalar(message, part, -1);
    }
    text_ += parts.empty() ? "}\n" : " }\n";
  }

  /// The values [begin, end) of a list.
  void printRow(const Message& message, const FieldDescriptor* field, int begin, int end) {
    const std::size_t line = text_.size();
    beginLine(nameOf(field) + ": [");
    std::size_t line_begin = line;
    for (int i = begin; i < end; ++i) {
      const std::string value = formatScalar(message, field, i) + (i + 1 < end ? "," : "]");
      if (i > begin && text_.size() + 1 + value.size() - line_begin > kMaxColumns) {
        text_ += '\n';
        line_begin = text_.size();
        text_.append((depth_ + 2) * kIndent, ' ');
      } else if (i > begin) {
        text_ += ' ';
      }
      text_ += value;
    }
    text_ += '\n';
  }

  void beginLine(const std::string& text) {
    text_.append(depth_ * kIndent, ' ');
    text_ += text;
  }

  std::string text_;
  std::size_t depth_ = 0;
};

}  // namespace

std::string printText(const Message& message) { return Printer().print(message); }

}  // namespace norv
