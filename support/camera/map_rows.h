#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "support/camera/kernels.h"
#include "support/camera/point_solver.h"
#include "support/camera/prepared_camera.h"
#include "support/rectified_view.h"

namespace norv::internal {

/// Rows of the maps of rectification.h. Not thread-safe: one for each thread.
class RowMaker {
 public:
  /// `camera` has to live as long.
  RowMaker(const PreparedCamera& camera, const calibration::RectifiedView& view);

  /// Row `j` of the view's height, as wide as the view.
  void rectify(std::size_t j, float* map_x, float* map_y);
  void rectifyInFixedPoint(std::size_t j, std::int16_t* xy, std::uint16_t* fraction);

  /// Row `j` of the camera's height, as wide as the camera's image.
  void undistort(std::size_t j, float* map_x, float* map_y);

 private:
  /// Columns that are computed at once: what is kept of them stays in the first-level cache.
  static constexpr std::size_t kColumns = 512;

  RayRow rayRow(std::size_t j) const;
  void rectifyColumns(const RayRow& row, std::size_t begin, std::size_t count, float* map_x,
                      float* map_y);
  void undistortColumns(std::size_t j, std::size_t begin, std::size_t count, float* map_x,
                        float* map_y);

  const PreparedCamera& camera_;
  calibration::RectifiedView view_;
  ViewFormula formula_;
  PointSolver solver_;
  std::array<std::uint8_t, kColumns> codes_;
  std::array<double, 2 * kColumns> rays_;
};

}  // namespace norv::internal
