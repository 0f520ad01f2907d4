#pragma once

/// Where a plane stands before an ideal pinhole camera: homography and the pose in it.

#include <Eigen/Core>
#include <optional>
#include <vector>

#include "support/fit/planar_view.h"

namespace norv::internal::fit {

/// camera_from_plane: rotation and translation, the latter in the plane's unit.
struct PlanePose {
  Eigen::Matrix3d rotation;
  Eigen::Vector3d translation;
};

/// Matrix H for which rays[i] is about (H a) / (H a).z with a = (plane_x, plane_y, 1), by the
/// direct linear transform: least sum of squares of (H a).xy - (H a).z rays[i] with the last row of
/// H of length 1 (Hartley and Zisserman, Multiple View Geometry, 2nd ed., section 4.1). The plane's
/// points are centred and of unit radius; `rays` are as many points (x/z, y/z).
Eigen::Matrix3d fitHomography(const std::vector<PointPair>& plane,
                              const std::vector<Eigen::Vector2d>& rays);

/// The rigid pose nearest to a homography, its scale the mean length of the first two columns and
/// its rotation the one nearest to them; the plane's origin is in front of the camera. Nothing when
/// the columns are dependent.
std::optional<PlanePose> poseFromHomography(const Eigen::Matrix3d& homography);

}  // namespace norv::internal::fit
