#pragma once

/// Calibrations to view in tests.

#include <google/protobuf/message.h>
#include <gtest/gtest.h>

#include <string>

#include "testing/calibration_edits.h"
#include "testing/calibration_messages.h"
#include "testing/example_ptz.h"
#include "testing/temporary_folder.h"
#include "testing/tree_calibrations.h"
#include "tests/tools/run_tool.h"

namespace norv {

inline const std::string kDefault = "compiled-in default calibration";
inline const std::string kPtz = testing::kCalibrations + "example_ptz_cal.txt";

class ViewCommand : public ::testing::Test {
 protected:
  std::string write(const std::string& name, const google::protobuf::Message& message) const {
    return folder_.write(name, message.SerializeAsString());
  }

  /// One camera of 640 x 480 whose lens folds, k1 = -0.5, which shows no ray in its corners.
  std::string writeFolding() const {
    calibration::CameraCalibration camera = testing::pinholeCamera("folding", 640, 480);
    camera.mutable_intrinsics()->set_fx(600);
    camera.mutable_intrinsics()->set_fy(600);
    camera.mutable_intrinsics()->set_radial(0, -0.5);
    return write("folding.bin", testing::robotOf({camera}));
  }

  testing::TemporaryFolder folder_;
};

}  // namespace norv
