#pragma once

/// One camera as another program calibrated it, and what became of its file.

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "interop/extended_lens.h"
#include "interop/format_problem.h"
#include "interop/radial_map.h"
#include "interop/rigid_pose.h"
#include "support/camera_matrix.h"
#include "support/lens_distortion.h"
#include "support/pixel_size.h"

namespace norv::interop {

/// How a camera maps rays to normalised image coordinates: by the library's own lens, by OpenCV's
/// with thin prisms and a tilted sensor, or by the lens of an omnidirectional camera.
using PeerLens = std::variant<calibration::LensDistortion<double>, ExtendedLens, RadialMap>;

/// A camera as it stands in a file, pixels counted from the image's corner. A plain value.
struct PeerCamera {
  std::string name;  ///< "" where the file has none
  calibration::PixelSize size;
  /// Camera matrix, rows (fx, skew, cx), (0, fy, cy), (0, 0, 1), pixels. It multiplies what the
  /// lens gives.
  double fx = 0;
  double fy = 0;
  double skew = 0;
  double cx = 0;
  double cy = 0;
  PeerLens lens;
  /// Of the frame that `PeerFile::parent` names.
  std::optional<RigidPose> camera_from_parent;
};

/// What stands in a file and is not taken over.
struct NotTakenOver {
  std::string key;     ///< as it is called in the file, with what it lies in: "cam0.rostopic"
  std::string reason;  ///< for a person to read
};

/// What a reader makes of a file.
struct PeerFile {
  std::vector<PeerCamera> cameras;  ///< in the order of the file; at least one
  std::string parent;  ///< the frame of the poses: "imu", "cam0", "world"; "" without poses
  std::vector<NotTakenOver> not_taken_over;
  std::vector<std::string> notes;  ///< sentences for the user about what was read in an unusual way
};

/// A file, or why it is refused.
using PeerReading = std::variant<PeerFile, FormatProblem>;

}  // namespace norv::interop
