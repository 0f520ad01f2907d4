// What a message holds that its text form cannot.

#include <google/protobuf/descriptor.h>
#include <google/protobuf/unknown_field_set.h>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <set>

#include "support/message_printing.h"
#include "support/messages/message_walk.h"

namespace norv {
namespace {

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using internal::VisitedMessage;
using Paths = std::vector<std::string>;

template <class T>
std::array<unsigned char, sizeof(T)> bytesOf(T value) {
  std::array<unsigned char, sizeof(T)> bytes = {};
  std::memcpy(bytes.data(), &value, sizeof value);
  return bytes;
}

/// Whether a text has no word for a value: for a NaN other than the one that a reader makes.
template <class T>
bool isLost(T value) {
  if (!std::isnan(value)) return false;
  return bytesOf(value) != bytesOf(std::copysign(std::numeric_limits<T>::quiet_NaN(), value));
}

/// `index` -1 for a field that is not repeated.
bool isLost(const Message& message, const FieldDescriptor* field, int index) {
  const auto* reflection = message.GetReflection();
  if (field->cpp_type() == FieldDescriptor::CPPTYPE_DOUBLE) {
    return isLost(index < 0 ? reflection->GetDouble(message, field)
                            : reflection->GetRepeatedDouble(message, field, index));
  }
  if (field->cpp_type() == FieldDescriptor::CPPTYPE_FLOAT) {
    return isLost(index < 0 ? reflection->GetFloat(message, field)
                            : reflection->GetRepeatedFloat(message, field, index));
  }
  return false;
}

void listUnknownFields(const VisitedMessage& visited, Paths* paths) {
  const auto& unknown = visited.message.GetReflection()->GetUnknownFields(visited.message);
  std::set<int> numbers;
  for (int i = 0; i < unknown.field_count(); ++i) numbers.insert(unknown.field(i).number());
  for (const int number : numbers) paths->push_back(visited.path.prefix() + std::to_string(number));
}

void listLostValues(const VisitedMessage& visited, const FieldDescriptor* field, Paths* paths) {
  if (!field->is_repeated()) {
    if (isLost(visited.message, field, -1)) paths->push_back(visited.path.prefix() + field->name());
    return;
  }
  if (field->message_type() != nullptr) return;
  const int size = visited.message.GetReflection()->FieldSize(visited.message, field);
  for (int i = 0; i < size; ++i) {
    if (!isLost(visited.message, field, i)) continue;
    paths->push_back(visited.path.prefix() + field->name() + "[" + std::to_string(i) + "]");
  }
}

}  // namespace

Paths listTextLosses(const Message& message) {
  Paths paths;
  internal::FieldPath path;
  internal::visitMessages(message, &path, [&paths](const VisitedMessage& visited) {
    listUnknownFields(visited, &paths);
    for (const FieldDescriptor* field : visited.fields) listLostValues(visited, field, &paths);
  });
  return paths;
}

}  // namespace norv
