#pragma once

/// The formats of other programs' calibrations.

#include <optional>
#include <string_view>
#include <vector>

#include "support/camera_matrix.h"

namespace norv::interop {

enum class PeerFormat {
  kRos,     ///< camera_info of the Robot Operating System, YAML or INI
  kKalibr,  ///< Kalibr's camchain, YAML
  kOpenCv,  ///< OpenCV's FileStorage: YAML, XML or JSON
  kMrcal,   ///< mrcal's .cameramodel
  kColmap,  ///< COLMAP's cameras.txt and images.txt
  kBasalt,  ///< basalt's JSON
};

/// All of them.
const std::vector<PeerFormat>& peerFormats();

/// What a format is called on a command line: "ros", "kalibr", "opencv", "mrcal", "colmap",
/// "basalt".
const char* formatName(PeerFormat format);

/// The inverse of `formatName`; none for any other word.
std::optional<PeerFormat> formatOfName(std::string_view name);

/// Where the format's own programs count pixels from.
calibration::PixelOrigin pixelOriginOf(PeerFormat format);

/// What to add to a pixel that is counted from `origin` to count it from the image's corner: 0.5 or
/// 0.
double cornerOffset(calibration::PixelOrigin origin);

/// The format that a file's contents have the look of; none where they look like no one's. A
/// glance: what is wrong in the file, its reader says. Thread-safe.
std::optional<PeerFormat> detectFormat(std::string_view contents);

}  // namespace norv::interop
