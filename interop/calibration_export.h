#pragma once

/// Our calibrations made into those of other programs.

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "interop/lens_fit.h"
#include "interop/peer_writing.h"
#include "proto/norv_camera_calibration.pb.h"

namespace norv::interop {

struct ExportOptions {
  WriteOptions writing;
  /// That maps the robot's frame into the parent of the written poses.
  RigidPose parent_from_robot;
  /// Coefficients of the written lens, in OpenCV's order: 4, 5 or 8; else as many as the format
  /// has.
  std::optional<int> coefficients;
  double max_error = 0.1;  ///< what a written camera may deviate by, pixels
};

struct ExportedCamera {
  std::string name;
  LensDeviation deviation;  ///< of what was written, read back, from what was to be written
  bool is_exact = false;  ///< the lens is the same one, and so are its numbers but for half a pixel
};

struct ExportOutcome {
  PeerWriting writing;
  std::vector<ExportedCamera> cameras;
};

/// The full frame's camera of a calibration, its doubles, the pose being camera_from_robot; or, as
/// a sentence, what keeps it from being one.
std::variant<WrittenCamera, std::string> fullFrameCamera(
    const calibration::CameraCalibration& camera);

/// The texts that hold the cameras (poses: camera_from_robot), each read back and compared; or, as
/// a sentence, why they are not to be written: the format cannot hold one, or it deviates by more
/// than allowed. Thread-safe.
std::variant<ExportOutcome, std::string> exportCameras(const std::vector<WrittenCamera>& cameras,
                                                       const ExportOptions& options);

}  // namespace norv::interop
