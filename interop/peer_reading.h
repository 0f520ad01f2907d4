#pragma once

/// Reading of other programs' calibrations.

#include <optional>
#include <string>
#include <vector>

#include "interop/peer_camera.h"
#include "interop/peer_format.h"

namespace norv::interop {

/// A file's contents, and what it is called in messages.
struct SourceFile {
  std::string name;
  std::string contents;
};

/// What a reader needs to be told, or is told otherwise than the file says.
struct ReadOptions {
  /// Where the file counts pixels from, of those made otherwise than its format has it.
  std::optional<calibration::PixelOrigin> pixel_origin;
  /// Of files that do not say the picture's size.
  std::optional<calibration::PixelSize> size;
  /// Which camera of an OpenCV file with M1, D1 and M2, D2: 1 or 2; 0 takes both.
  int node = 0;
  /// Takes a ROS file with binning or a region of interest for the camera of the full frame.
  bool full_frame = false;
  /// Metres per unit of COLMAP's world; without it poses are not taken over.
  std::optional<double> metres_per_unit;
};

/// The cameras of a file, or why it is refused. Every key of the file is used, checked to follow
/// from others, or listed as not taken over. Bad input never throws; std::bad_alloc may.
/// Thread-safe. The inverse is `writeCameras`.
PeerReading readCameras(const SourceFile& file, PeerFormat format, const ReadOptions& options);

/// The same of COLMAP's two files together: one camera for each image, named by it, with its pose
/// where the scale is given. An image of a camera that cameras.txt lacks is refused.
PeerReading readColmap(const SourceFile& cameras, const SourceFile& images,
                       const ReadOptions& options);

/// Whether the contents are COLMAP's images.txt and not its cameras.txt.
bool isColmapImages(const std::string& contents);

}  // namespace norv::interop
