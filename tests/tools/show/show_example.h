#pragma once

/// A camera to show in tests, and files that are refused.

#include <string>

#include "testing/calibration_messages.h"
#include "tests/tools/run_tool.h"

namespace norv::testing {

/// A camera whose numbers are all exact in decimal.
inline calibration::CameraCalibration plainCamera(const std::string& name) {
  calibration::CameraCalibration camera = exampleCamera(name, "lab");
  for (int i = 0; i < 6; ++i) camera.mutable_intrinsics()->set_radial(i, 0.125 * (i + 1));
  for (int i = 0; i < 2; ++i) camera.mutable_intrinsics()->set_tangential(i, -0.25 * i);
  camera.mutable_extrinsics()->set_a(3, 1500);
  return camera;
}

/// Expects that a file is refused with this line and nothing else.
inline void expectShowRefuses(const std::string& path, const std::string& reason) {
  expectToolRefuses("show '" + path + "'", reason);
}

}  // namespace norv::testing
