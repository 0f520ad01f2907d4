#pragma once

#include <Eigen/Core>
#include <optional>
#include <vector>

#include "calibration_common/calibration_diff.h"
#include "calibration_common/diff/image_camera.h"
#include "support/numeric/infinity.h"

namespace norv::internal::diff {

/// What a camera sees at one pixel of the grid.
struct GridRay {
  Eigen::Vector3d ray;  ///< (x, y, 1) in the camera frame
  /// Where the camera images this ray: the pixel, but for the rounding of the lens' inverse.
  /// Differences count from here, so that equal cameras differ by exactly 0.
  Eigen::Vector2d imaged;
};

struct GridPixel {
  Eigen::Vector2d pixel;
  std::optional<GridRay> seen;  ///< none where the camera images no ray
};

/// Columns of the grid, from border to border.
inline constexpr int kGridColumns = 61;
/// Rows that no grid has more of: those of an image 16 times as high as wide.
inline constexpr int kMaxGridRows = 16 * kGridColumns;

/// The grid of 61 x round(61 h / w) pixels over [0, w] x [0, h], its borders included, row by row,
/// and what the camera sees there. Two rows at least; none at all where a side is not positive.
std::vector<GridPixel> seeGrid(const calibration::PixelSize& size, const ImageCamera& camera);

/// Where the points are, in the frame of another camera, that a ray r = (x, y, 1) becomes: up to
/// scale linear r + translation |r| / distance. The distance is that of the points from the camera
/// of the ray, in the unit of the translation; infinity leaves the translation out.
struct RayMotion {
  Eigen::Matrix3d linear = Eigen::Matrix3d::Identity();
  Eigen::Vector3d translation = Eigen::Vector3d::Zero();
  double distance = kInfinity;
};

/// By how much the camera `b` images each ray of the grid elsewhere, pixels; none without a ray and
/// where `b` does not image the point.
using Shifts = std::vector<std::optional<Eigen::Vector2d>>;
Shifts shiftGrid(const std::vector<GridPixel>& grid, const RayMotion& motion, const ImageCamera& b);

/// Largest, median (of an even number the mean of the two in the middle), root mean square.
calibration::PixelDifference summarise(const std::vector<GridPixel>& grid, const Shifts& shifts);

}  // namespace norv::internal::diff
