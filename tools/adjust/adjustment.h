#pragma once

/// What the verb `adjust` works on and finds out, before anything is written.

#include <string>
#include <vector>

#include "proto/norv_robot_calibration.pb.h"
#include "support/matrix_types.h"
#include "tools/input/calibration_input.h"
#include "tools/review/file_review.h"

namespace norv::tools {

/// One camera before and after.
struct CameraMove {
  std::string name;
  Vector3_f center_before;  ///< on the robot, metres
  Vector3_f center_after;
  bool moved_before;  ///< by this base's transform, as the camera's record says
};

struct Adjustment {
  CalibrationInput input;
  InputFormat format = InputFormat::kBinary;
  CalibrationInput base_input;
  calibration::RobotCalibration robot;     ///< as it was read
  calibration::RobotCalibration adjusted;  ///< with the cameras moved
  std::vector<CameraMove> cameras;         ///< one per entry
  std::vector<PlacedFinding> base_findings;
  /// In the calibration that was moved, at their places in the file before.
  std::vector<PlacedFinding> findings;
  std::vector<PlacedFinding>
      new_findings;  ///< those of them that the calibration did not have before
};

/// Whether the transform changed no pose at all.
bool movesNothing(const Adjustment& adjustment);

/// Reads both files and moves the cameras. Throws ToolError when one of them does not load, or when
/// there is no camera.
Adjustment adjustFiles(const std::string& path, const std::string& base_path);

/// Why the result should not be written, as one sentence; "" where nothing speaks against it.
/// `force` is for calibrations with errors, `again` for cameras that the base moved before.
std::string findObjection(const Adjustment& adjustment, bool force, bool again);

}  // namespace norv::tools
