/// What holds for every message, whatever it means.

#include <google/protobuf/unknown_field_set.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <set>

#include "calibration_common/review/check.h"
#include "calibration_common/review/sentence.h"
#include "support/messages/message_walk.h"

namespace norv::internal::review {
namespace {

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using google::protobuf::Reflection;

constexpr auto kMaxStored = static_cast<double>(std::numeric_limits<float>::max());

/// Fields whose own checks call a value that is not finite by the name of the mistake.
constexpr std::array<const char*, 6> kFieldsWithChecks = {"pan_scale",  "tilt_scale",  "wheel_base",
                                                          "base_width", "base_length", "gain"};

bool hasOwnCheck(const FieldDescriptor& field) {
  return std::any_of(kFieldsWithChecks.begin(), kFieldsWithChecks.end(),
                     [&](const char* name) { return field.name() == name; });
}

bool isNumber(const FieldDescriptor& field) {
  return field.cpp_type() == FieldDescriptor::CPPTYPE_DOUBLE ||
         field.cpp_type() == FieldDescriptor::CPPTYPE_FLOAT;
}

/// The value of a floating-point field; `index` -1 for one that is not repeated.
double readNumber(const Message& message, const FieldDescriptor* field, int index) {
  const Reflection* reflection = message.GetReflection();
  if (field->cpp_type() == FieldDescriptor::CPPTYPE_DOUBLE) {
    return index < 0 ? reflection->GetDouble(message, field)
                     : reflection->GetRepeatedDouble(message, field, index);
  }
  return static_cast<double>(index < 0 ? reflection->GetFloat(message, field)
                                       : reflection->GetRepeatedFloat(message, field, index));
}

void checkStored(const VisitedMessage& visited, const FieldDescriptor* field, int index,
                 Report* report) {
  const double value = readNumber(visited.message, field, index);
  if (std::abs(value) <= kMaxStored || hasOwnCheck(*field)) return;  // NaN fails
  std::string name = field->name();
  if (index >= 0) name += "[" + std::to_string(index) + "]";
  report->add({Severity::kError, visited.path.prefix() + name, value, kMaxStored}, [&] {
    return name + " is " + number(value) + ", where a finite number up to " + number(kMaxStored) +
           " is needed";
  });
}

void checkFinite(const Message& top, Report* report) {
  FieldPath path;
  visitMessages(top, &path, [report](const VisitedMessage& visited) {
    for (const FieldDescriptor* field : visited.fields) {
      if (!isNumber(*field)) continue;
      if (!field->is_repeated()) {
        checkStored(visited, field, -1, report);
        continue;
      }
      const int count = visited.message.GetReflection()->FieldSize(visited.message, field);
      for (int i = 0; i < count; ++i) checkStored(visited, field, i, report);
    }
  });
}

/// Reports a field by its number, for which there is no name, or none for values of that type.
void reportUnknown(const VisitedMessage& visited, int field, Report* report) {
  const std::string name = std::to_string(field);
  report->add({Severity::kWarning, visited.path.prefix() + name}, [&] {
    const auto* type = visited.message.GetDescriptor();
    const bool known = type->FindFieldByNumber(field) != nullptr;
    return "field " + name + " of " + type->name() +
           (known ? " has a value of another type than this version knows"
                  : " is not known to this version") +
           " and is ignored";
  });
}

void checkUnknownFields(const Message& top, Report* report) {
  FieldPath path;
  visitMessages(top, &path, [report](const VisitedMessage& visited) {
    const auto& unknown = visited.message.GetReflection()->GetUnknownFields(visited.message);
    std::set<int> numbers;
    for (int i = 0; i < unknown.field_count(); ++i) numbers.insert(unknown.field(i).number());
    for (const int field : numbers) reportUnknown(visited, field, report);
  });
}

}  // namespace

const CheckTable& messageChecks() {
  static const CheckTable table = {
      {"parse",
       {Severity::kError},
       "the file is no calibration, in neither format",
       "nothing can be loaded from it; found by those who read files",
       {}},
      {"unknown-field",
       {Severity::kWarning},
       "a field that this version does not know, or knows with another type",
       "it is kept and ignored: the calibration may be of a later version",
       {&checkUnknownFields}},
      {"not-finite",
       {Severity::kError},
       "NaN, infinity, or beyond the range of single precision, in any field",
       "values are narrowed to single precision, and one NaN makes whole poses and lenses NaN",
       {&checkFinite}},
  };
  return table;
}

}  // namespace norv::internal::review
