#include "tools/convert/message_losses.h"

#include <google/protobuf/descriptor.h>
#include <google/protobuf/text_format.h>
#include <google/protobuf/unknown_field_set.h>

#include <cstddef>
#include <cstring>
#include <map>

namespace norv::tools {
namespace {

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using google::protobuf::UnknownFieldSet;

/// Path of a field -> its value, in letters that tell any two values apart.
using Values = std::map<std::string, std::string>;

template <class Number>
std::string bitsOf(Number value) {
  std::string bits(sizeof value, '\0');
  std::memcpy(bits.data(), &value, sizeof value);
  return bits;
}

/// Of a field that is no message; `index` -1 for one that is not repeated.
std::string valueOf(const Message& message, const FieldDescriptor* field, int index) {
  const auto* reflection = message.GetReflection();
  if (field->cpp_type() == FieldDescriptor::CPPTYPE_DOUBLE) {
    return bitsOf(index < 0 ? reflection->GetDouble(message, field)
                            : reflection->GetRepeatedDouble(message, field, index));
  }
  if (field->cpp_type() == FieldDescriptor::CPPTYPE_FLOAT) {
    return bitsOf(index < 0 ? reflection->GetFloat(message, field)
                            : reflection->GetRepeatedFloat(message, field, index));
  }
  std::string text;
  google::protobuf::TextFormat::PrintFieldValueToString(message, field, index, &text);
  return text;
}

void addUnknown(const UnknownFieldSet& unknown, const std::string& prefix, Values* values) {
  std::map<int, UnknownFieldSet> by_number;
  for (int i = 0; i < unknown.field_count(); ++i) {
    by_number[unknown.field(i).number()].AddField(unknown.field(i));
  }
  for (const auto& [number, fields] : by_number) {
    fields.SerializeToString(&(*values)[prefix + std::to_string(number)]);
  }
}

void addValues(const Message& message, const std::string& prefix, Values* values);

void addElement(const Message& message, const FieldDescriptor* field, int index,
                const std::string& path, Values* values) {
  if (field->message_type() == nullptr) {
    (*values)[path] = valueOf(message, field, index);
    return;
  }
  const auto* reflection = message.GetReflection();
  (*values)[path] = "";  // it is there, empty or not
  addValues(index < 0 ? reflection->GetMessage(message, field)
                      : reflection->GetRepeatedMessage(message, field, index),
            path + ".", values);
}

void addValues(const Message& message, const std::string& prefix, Values* values) {
  const auto* reflection = message.GetReflection();
  addUnknown(reflection->GetUnknownFields(message), prefix, values);
  std::vector<const FieldDescriptor*> fields;
  reflection->ListFields(message, &fields);
  for (const FieldDescriptor* field : fields) {
    const std::string path = prefix + field->name();
    if (!field->is_repeated()) {
      addElement(message, field, -1, path, values);
      continue;
    }
    for (int i = 0; i < reflection->FieldSize(message, field); ++i) {
      addElement(message, field, i, path + "[" + std::to_string(i) + "]", values);
    }
  }
}

}  // namespace

std::vector<std::string> listDifferences(const Message& original, const Message& copy) {
  Values before;
  Values after;
  addValues(original, "", &before);
  addValues(copy, "", &after);
  std::vector<std::string> different;
  for (const auto& [path, value] : before) {
    const auto found = after.find(path);
    if (found == after.end() || found->second != value) different.push_back(path);
  }
  for (const auto& [path, value] : after) {
    if (before.count(path) == 0) different.push_back(path);
  }
  return different;
}

}  // namespace norv::tools
