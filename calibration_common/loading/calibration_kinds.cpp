#include "calibration_common/loading/calibration_kinds.h"

#include <google/protobuf/arena.h>
#include <google/protobuf/unknown_field_set.h>

#include <array>
#include <cstddef>

#include "proto/norv_base_calibration.pb.h"
#include "proto/norv_ptz_camera.pb.h"
#include "proto/norv_robot_calibration.pb.h"
#include "support/messages/message_reading.h"
#include "support/messages/message_walk.h"

namespace norv::internal {
namespace {

using google::protobuf::Message;

struct Kind {
  const Message& prototype;
  const char* holds;
};

const std::array<Kind, 3>& allKinds() {
  static const std::array<Kind, 3> kinds = {
      Kind{calibration::RobotCalibration::default_instance(), "fixed cameras"},
      Kind{calibration::PTZCameraParameters::default_instance(), "a pan-tilt-zoom camera"},
      Kind{calibration::BaseCalibrationProto::default_instance(), "a mobile base"}};
  return kinds;
}

bool isOfKind(const Message& message, const Kind& kind) {
  return message.GetDescriptor() == kind.prototype.GetDescriptor();
}

/// Their size and not their number: a kind that knows nothing of the data may still see it as one
/// large field.
std::size_t countUnknownBytes(const Message& message) {
  std::size_t count = 0;
  FieldPath path;
  visitMessages(message, &path, [&count](const VisitedMessage& visited) {
    const auto* reflection = visited.message.GetReflection();
    const auto& fields = reflection->GetUnknownFields(visited.message);
    if (fields.empty()) return;
    std::string bytes;
    if (fields.SerializeToString(&bytes)) count += bytes.size();
  });
  return count;
}

}  // namespace

const char* describeKind(const Message& message) {
  for (const Kind& kind : allKinds()) {
    if (isOfKind(message, kind)) return kind.holds;
  }
  return "something else";
}

const char* findBetterKind(const std::string& data, const Message& message) {
  std::size_t fewest = countUnknownBytes(message);
  const char* best = nullptr;
  for (const Kind& kind : allKinds()) {
    if (fewest == 0) break;
    if (isOfKind(message, kind)) continue;
    google::protobuf::Arena arena;
    Message* const other = kind.prototype.New(&arena);
    if (!readBinary(data, other)) continue;
    const std::size_t unknown = countUnknownBytes(*other);
    if (unknown >= fewest) continue;
    fewest = unknown;
    best = kind.holds;
  }
  return best;
}

const char* findKindOfText(const std::string& data, const Message& message) {
  for (const Kind& kind : allKinds()) {
    google::protobuf::Arena arena;
    if (!isOfKind(message, kind) && readText(data, kind.prototype.New(&arena))) return kind.holds;
  }
  return nullptr;
}

}  // namespace norv::internal
