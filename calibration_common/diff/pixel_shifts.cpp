#include "calibration_common/diff/pixel_shifts.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace norv::internal::diff {
namespace {

/// Rows of the grid for an image of positive sides.
int countRows(const calibration::PixelSize& size) {
  const double rows = std::round(kGridColumns * static_cast<double>(size.height) / size.width);
  return static_cast<int>(std::clamp<double>(rows, 2, kMaxGridRows));
}

std::optional<GridRay> see(const Eigen::Vector2d& pixel, const ImageCamera& camera) {
  const std::optional<Eigen::Vector3d> ray = camera.rayAt(pixel);
  if (!ray) return std::nullopt;
  const auto imaged = camera.project(ray->x(), ray->y(), ray->z());
  return GridRay{*ray, {imaged.x, imaged.y}};
}

std::optional<Eigen::Vector2d> shift(const GridPixel& at, const RayMotion& motion,
                                     const ImageCamera& b) {
  if (!at.seen) return std::nullopt;
  const Eigen::Vector3d& ray = at.seen->ray;
  const std::optional<Eigen::Vector2d> pixel =
      b.pixelOf(motion.linear * ray + motion.translation * (ray.norm() / motion.distance));
  if (!pixel) return std::nullopt;
  return *pixel - at.seen->imaged;
}

/// Of numbers that may be reordered; there must be one.
double medianOf(std::vector<double>* numbers) {
  const auto middle = numbers->begin() + static_cast<std::ptrdiff_t>(numbers->size() / 2);
  std::nth_element(numbers->begin(), middle, numbers->end());
  if (numbers->size() % 2 == 1) return *middle;
  return 0.5 * (*std::max_element(numbers->begin(), middle) + *middle);
}

}  // namespace

std::vector<GridPixel> seeGrid(const calibration::PixelSize& size, const ImageCamera& camera) {
  std::vector<GridPixel> grid;
  if (size.width < 1 || size.height < 1) return grid;
  const int rows = countRows(size);
  grid.reserve(static_cast<std::size_t>(rows) * kGridColumns);
  for (int r = 0; r < rows; ++r) {
    for (int c = 0; c < kGridColumns; ++c) {
      const Eigen::Vector2d pixel(static_cast<double>(size.width) * c / (kGridColumns - 1),
                                  static_cast<double>(size.height) * r / (rows - 1));
      grid.push_back({pixel, see(pixel, camera)});
    }
  }
  return grid;
}

Shifts shiftGrid(const std::vector<GridPixel>& grid, const RayMotion& motion,
                 const ImageCamera& b) {
  Shifts shifts;
  shifts.reserve(grid.size());
  for (const GridPixel& at : grid) shifts.push_back(shift(at, motion, b));
  return shifts;
}

calibration::PixelDifference summarise(const std::vector<GridPixel>& grid, const Shifts& shifts) {
  calibration::PixelDifference result;
  std::vector<double> lengths;
  double squares = 0;
  for (std::size_t i = 0; i < grid.size(); ++i) {
    if (!grid[i].seen) ++result.without_ray;
    if (grid[i].seen && !shifts[i]) ++result.not_imaged;
    if (!shifts[i]) continue;
    const double length = shifts[i]->norm();
    lengths.push_back(length);
    squares += length * length;
    if (length <= result.max) continue;  // false at first, when that is NaN
    result.max = length;
    result.worst_u = grid[i].pixel.x();
    result.worst_v = grid[i].pixel.y();
  }
  if (lengths.empty()) return result;
  result.compared = static_cast<int>(lengths.size());
  result.rms = std::sqrt(squares / result.compared);
  result.median = medianOf(&lengths);
  return result;
}

}  // namespace norv::internal::diff
