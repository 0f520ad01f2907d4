#pragma once

/// Messages that survive when memory runs out.
///
/// Protocol Buffers builds a message on the heap out of many small blocks, and where an allocation
/// fails half-way its constructors leave those behind that they had. A message on an arena has all
/// that belongs to it in a few blocks, which go with the arena whatever happened; that is quicker,
/// too. And a copy of unknown fields that fails half-way shares a block with its source, which both
/// then free; so unknown fields are copied by writing and reading them.

#include <google/protobuf/arena.h>

#include <memory>

#include "proto/norv_base_calibration.pb.h"
#include "proto/norv_camera_calibration.pb.h"
#include "proto/norv_robot_calibration.pb.h"

namespace norv::internal {

/// An empty message on an arena of its own, which lives as long as the pointer's copies do. Throws
/// std::bad_alloc.
template <class M>
std::shared_ptr<M> newMessage() {
  struct Owner {
    google::protobuf::Arena arena;
    M* message = google::protobuf::Arena::CreateMessage<M>(&arena);
  };
  const auto owner = std::make_shared<Owner>();
  return {owner, owner->message};
}

/// Makes `*to`, another message than `from` and on an arena unless noted, equal to `from`, unknown
/// fields included. Throws std::bad_alloc; `*to` is then fit to be destroyed, and for nothing else.
/// Different targets may be written concurrently.
void copyMessage(const calibration::RobotCalibration& from, calibration::RobotCalibration* to);
void copyMessage(const calibration::CameraCalibration& from, calibration::CameraCalibration* to);
/// `*to` may be on the heap: the message holds no list of messages.
void copyMessage(const calibration::BaseCalibrationProto& from,
                 calibration::BaseCalibrationProto* to);

/// A copy on an arena of its own.
template <class M>
std::shared_ptr<M> copyOf(const M& from) {
  std::shared_ptr<M> copy = newMessage<M>();
  copyMessage(from, copy.get());
  return copy;
}

}  // namespace norv::internal
