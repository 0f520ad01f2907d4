#pragma once

/// The lines of COLMAP's cameras.txt.

#include <cstdint>
#include <string_view>
#include <vector>

#include "interop/peer_camera.h"
#include "support/camera_matrix.h"

namespace norv::interop {

struct ColmapCamera {
  std::uint32_t id = 0;
  PeerCamera camera;  ///< without name and pose
};

/// The cameras in the order of the text, at least one. Throws FormatError for lenses that are not
/// read, an id that stands there twice, and what is missing or wrong in a line.
///
/// A line is CAMERA_ID MODEL WIDTH HEIGHT and the model's parameters. COLMAP's perspective models
/// are those of up to eight coefficients, its fisheye models r_d = theta (1 + k1 theta^2 + ...) and
/// FOV are radial maps.
std::vector<ColmapCamera> colmapCameras(std::string_view text, calibration::PixelOrigin origin);

}  // namespace norv::interop
