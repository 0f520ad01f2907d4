#pragma once

/// The lines of COLMAP's images.txt.

#include <cstdint>
#include <string_view>
#include <vector>

#include "interop/format_problem.h"
#include "interop/rigid_pose.h"

namespace norv::interop {

struct ColmapImage {
  std::string_view name;  ///< without its extension; folders are part of it
  std::uint32_t camera_id = 0;
  Place camera_place;  ///< where that stands
  /// In units of the world, which are arbitrary.
  RigidPose camera_from_world;
};

struct ColmapImages {
  std::vector<ColmapImage> images;  ///< in the order of the text
  bool has_points = false;          ///< of which nothing is read
};

/// The images of a text, which must outlive them. Throws FormatError for an id that stands there
/// twice, a quaternion of length 0, and what is missing or wrong in a line.
///
/// An image has two lines, the second of which may be empty: IMAGE_ID QW QX QY QZ TX TY TZ
/// CAMERA_ID NAME, p_camera = R(q / |q|) p_world + t; and its points, X Y POINT3D_ID each.
ColmapImages colmapImages(std::string_view text);

/// What an image of this name is called without its extension: the last dot of the last folder and
/// what follows it, unless it begins with that.
std::string_view withoutExtension(std::string_view name);

}  // namespace norv::interop
