#include "calibration_common/diff/image_difference.h"

#include <Eigen/Geometry>
#include <cstddef>
#include <limits>
#include <optional>

#include "calibration_common/diff/best_rotation.h"
#include "calibration_common/diff/image_camera.h"
#include "calibration_common/diff/pixel_shifts.h"

namespace norv::internal::diff {
namespace {

using calibration::GridDifference;

Eigen::Vector2d orNaN(const std::optional<Eigen::Vector2d>& shift) {
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  return shift.value_or(Eigen::Vector2d(kNaN, kNaN));
}

std::vector<GridDifference> joinGrid(const std::vector<GridPixel>& grid, const Shifts& as_is,
                                     const Shifts& rotated) {
  std::vector<GridDifference> joined;
  joined.reserve(grid.size());
  for (std::size_t i = 0; i < grid.size(); ++i) {
    const Eigen::Vector2d d = orNaN(as_is[i]);
    const Eigen::Vector2d r = orNaN(rotated[i]);
    joined.push_back({grid[i].pixel.x(), grid[i].pixel.y(), d.x(), d.y(), r.x(), r.y()});
  }
  return joined;
}

}  // namespace

calibration::ImageDifference compareImages(const calibration::CameraParameters::Intrinsics& a,
                                           const calibration::CameraParameters::Intrinsics& b,
                                           const Pose& b_from_a,
                                           const calibration::DiffOptions& options) {
  const ImageCamera camera_a(a);
  const ImageCamera camera_b(b);
  const std::vector<GridPixel> grid = seeGrid({a.width, a.height}, camera_a);
  const Shifts as_is = shiftGrid(grid, {}, camera_b);
  const Eigen::Quaterniond rotation = findBestRotation(camera_b, grid, as_is);
  const Eigen::AngleAxisd turn(rotation);
  const Eigen::Vector3d turn_by_axes = turn.angle() * turn.axis();
  RayMotion turning;
  turning.linear = rotation.toRotationMatrix();
  const Shifts rotated = shiftGrid(grid, turning, camera_b);

  calibration::ImageDifference difference;
  difference.a = a;
  difference.b = b;
  difference.as_is = summarise(grid, as_is);
  difference.rotated = summarise(grid, rotated);
  difference.rotation = {turn_by_axes.x(), turn_by_axes.y(), turn_by_axes.z()};
  for (const double distance : options.distances) {
    const RayMotion motion{b_from_a.linear, b_from_a.translation, distance};
    difference.on_robot.push_back({distance, summarise(grid, shiftGrid(grid, motion, camera_b))});
  }
  if (options.keep_grid) difference.grid = joinGrid(grid, as_is, rotated);
  return difference;
}

}  // namespace norv::internal::diff
