#pragma once

/// Undoing of loads that end by an exception.

#include <exception>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "proto/norv_robot_calibration.pb.h"

namespace norv::calibration {
class CameraParameters;
}  // namespace norv::calibration

namespace norv::internal {

/// Takes a set of cameras back to what it was when this object was made, if an exception ends this
/// object's scope. Meanwhile cameras may be inserted and replaced, but not erased, and the message
/// may be replaced, but not changed.
class LoadRollback {
 public:
  using Cameras = std::map<std::string, std::shared_ptr<calibration::CameraParameters>>;
  using Message = std::shared_ptr<calibration::RobotCalibration>;

  /// Throws std::bad_alloc. What it is given must outlive it.
  LoadRollback(Cameras* cameras, Message* message);
  LoadRollback(const LoadRollback&) = delete;
  LoadRollback& operator=(const LoadRollback&) = delete;
  ~LoadRollback();

 private:
  void restore() noexcept;

  Cameras* cameras_;
  Message* message_;
  std::vector<std::pair<Cameras::iterator, Cameras::mapped_type>> former_cameras_;  ///< in order
  Message former_message_;
  int exceptions_ = std::uncaught_exceptions();
};

}  // namespace norv::internal
