#pragma once

/// Calibrations to compare in tests.

#include <gtest/gtest.h>

#include <string>

#include "testing/calibration_edits.h"
#include "testing/temporary_folder.h"
#include "tests/tools/run_tool.h"

namespace norv::testing {

/// Files of one test.
class DiffCommand : public ::testing::Test {
 protected:
  std::string write(const std::string& name, const google::protobuf::Message& message) const {
    return folder_.write(name, message.SerializeAsString());
  }

  /// The compiled-in calibration with the navigation camera's cx 5 px to the right.
  std::string writeShifted() const {
    return write("shifted.bin",
                 defaultRobotWith("navigation_camera", [](calibration::CameraCalibration* camera) {
                   camera->mutable_intrinsics()->set_cx(645);
                 }));
  }

  TemporaryFolder folder_;
};

}  // namespace norv::testing
