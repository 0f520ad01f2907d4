#pragma once

/// What a message holds, as paths, for tests of what finds its fields in a text.

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include <algorithm>
#include <string>
#include <vector>

namespace norv::testing {

/// Adds the paths of all fields and elements that a message holds.
inline void addPaths(const google::protobuf::Message& message, const std::string& prefix,
                     std::vector<std::string>* paths) {
  const google::protobuf::Reflection* reflection = message.GetReflection();
  std::vector<const google::protobuf::FieldDescriptor*> fields;
  reflection->ListFields(message, &fields);
  for (const google::protobuf::FieldDescriptor* field : fields) {
    const bool is_message = field->message_type() != nullptr;
    if (!field->is_repeated()) {
      paths->push_back(prefix + field->name());
      if (is_message) {
        addPaths(reflection->GetMessage(message, field), paths->back() + ".", paths);
      }
      continue;
    }
    for (int i = 0; i < reflection->FieldSize(message, field); ++i) {
      paths->push_back(prefix + field->name() + "[" + std::to_string(i) + "]");
      if (is_message) {
        addPaths(reflection->GetRepeatedMessage(message, field, i), paths->back() + ".", paths);
      }
    }
  }
}

/// Paths such as "camera_calibration[1].intrinsics.radial[3]" of all that a message holds, sorted.
inline std::vector<std::string> pathsOf(const google::protobuf::Message& message) {
  std::vector<std::string> paths;
  addPaths(message, "", &paths);
  std::sort(paths.begin(), paths.end());
  return paths;
}

/// Whether a path, whose fields `type` knows, is that of a repeated field as a whole.
inline bool isPathOfList(const std::string& path, const google::protobuf::Descriptor& type) {
  const google::protobuf::Descriptor* parent = &type;
  std::size_t begin = 0;
  for (;;) {
    const std::size_t end = path.find('.', begin);
    const std::string step = path.substr(begin, end - begin);
    const google::protobuf::FieldDescriptor* field =
        parent->FindFieldByName(step.substr(0, step.find('[')));
    if (end == std::string::npos) return field->is_repeated() && step.back() != ']';
    parent = field->message_type();
    begin = end + 1;
  }
}

}  // namespace norv::testing
