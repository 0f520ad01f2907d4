#pragma once

/// A way through all messages that a message contains. Thread-safe, for messages that nobody
/// changes.

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include <string>
#include <vector>

namespace norv::internal {

/// The way from the top of a message to a message within it.
class FieldPath {
 public:
  void enter(const google::protobuf::FieldDescriptor* field, int index) {
    steps_.push_back({field, index});
  }
  void leave() { steps_.pop_back(); }

  /// "camera_calibration[0].intrinsics."; empty at the top.
  std::string prefix() const;

 private:
  struct Step {
    const google::protobuf::FieldDescriptor* field;
    int index;  ///< -1 for a field that is not repeated
  };

  std::vector<Step> steps_;
};

/// A message within a message, and its fields that are present.
struct VisitedMessage {
  const google::protobuf::Message& message;
  const std::vector<const google::protobuf::FieldDescriptor*>& fields;
  const FieldPath& path;
};

/// Calls `visit` for `top` and all messages in it, outer ones first. The depth is that of the
/// types, which do not contain themselves.
template <class Visit>
void visitMessages(const google::protobuf::Message& top, FieldPath* path, const Visit& visit) {
  const auto* reflection = top.GetReflection();
  std::vector<const google::protobuf::FieldDescriptor*> fields;
  reflection->ListFields(top, &fields);
  visit(VisitedMessage{top, fields, *path});
  for (const auto* field : fields) {
    if (field->message_type() == nullptr) continue;
    if (!field->is_repeated()) {
      path->enter(field, -1);
      visitMessages(reflection->GetMessage(top, field), path, visit);
      path->leave();
      continue;
    }
    for (int i = 0; i < reflection->FieldSize(top, field); ++i) {
      path->enter(field, i);
      visitMessages(reflection->GetRepeatedMessage(top, field, i), path, visit);
      path->leave();
    }
  }
}

}  // namespace norv::internal
