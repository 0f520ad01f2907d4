#pragma once

/// Writing of calibrations for other programs.

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "interop/format_problem.h"
#include "interop/peer_format.h"
#include "interop/rigid_pose.h"
#include "support/camera_model.h"

namespace norv::interop {

/// A camera to be written, pixels counted from the image's corner.
struct WrittenCamera {
  std::string name;
  calibration::CameraModel model;
  std::optional<RigidPose> camera_from_parent;
};

/// How the formats that have several ways are written.
enum class Syntax { kUsual, kIni, kXml, kJson };  ///< YAML is the usual one of ROS and OpenCV

struct WriteOptions {
  PeerFormat format = PeerFormat::kOpenCv;
  Syntax syntax = Syntax::kUsual;
  /// Where the written pixels are counted from; without it as the format's own programs do.
  std::optional<calibration::PixelOrigin> pixel_origin;
  /// What the parent of the poses is called. Kalibr's T_cam_imu is written for "imu" alone.
  std::string parent = "robot";
  /// Has ROS' files written with all eight coefficients where five would do.
  bool all_coefficients = false;
};

/// Where pixels are counted from with these options.
calibration::PixelOrigin writtenOrigin(const WriteOptions& options);

/// A file to be written. COLMAP has three, the others one, without a name.
struct WrittenFile {
  std::string name;
  std::string contents;
};

struct PeerWriting {
  std::vector<WrittenFile> files;
  std::vector<std::string> notes;  ///< about what the format could not take as it was: names
};

/// The texts that hold the cameras, numbers with the fewest digits that read back as the same
/// double; or, as a sentence, why the format cannot hold one: skew, a lens of more coefficients, a
/// name, several cameras. The inverse is `readCameras`. Thread-safe.
std::variant<PeerWriting, std::string> writeCameras(const std::vector<WrittenCamera>& cameras,
                                                    const WriteOptions& options);

/// How many coefficients, in OpenCV's order, the format has for a lens: 4 or 8.
int coefficientsOf(PeerFormat format);

}  // namespace norv::interop
