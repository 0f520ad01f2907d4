#include "support/rectification.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>

#include "support/camera/map_rows.h"
#include "support/camera/parallel.h"
#include "support/camera/prepared_camera.h"

namespace norv::calibration {
namespace {

/// Calls `row(maker, j)` for every row of an image, with one `RowMaker` a thread.
template <class Row>
void forEachRow(const CameraModel& camera, const RectifiedView& view, int rows, int threads,
                const Row& row) {
  const internal::PreparedCamera prepared = internal::prepare(camera);
  constexpr std::size_t kRowsOfThread = 8;
  internal::inParallel(static_cast<std::size_t>(std::max(rows, 0)), kRowsOfThread, threads,
                       [&](std::size_t begin, std::size_t end) {
                         internal::RowMaker maker(prepared, view);
                         for (std::size_t j = begin; j < end; ++j) row(&maker, j);
                       });
}

std::size_t widthOf(int width) { return static_cast<std::size_t>(std::max(width, 0)); }

}  // namespace

void makeRectifyMap(const CameraModel& camera, const RectifiedView& view, float* map_x,
                    float* map_y, int threads) {
  const std::size_t width = widthOf(view.width);
  forEachRow(camera, view, view.height, threads, [&](internal::RowMaker* maker, std::size_t j) {
    maker->rectify(j, map_x + j * width, map_y + j * width);
  });
}

void makeFixedPointRectifyMap(const CameraModel& camera, const RectifiedView& view,
                              std::int16_t* xy, std::uint16_t* fraction, int threads) {
  const std::size_t width = widthOf(view.width);
  forEachRow(camera, view, view.height, threads, [&](internal::RowMaker* maker, std::size_t j) {
    maker->rectifyInFixedPoint(j, xy + 2 * j * width, fraction + j * width);
  });
}

void makeUndistortMap(const CameraModel& camera, const RectifiedView& view, float* map_x,
                      float* map_y, int threads) {
  const std::size_t width = widthOf(camera.width);
  forEachRow(camera, view, camera.height, threads, [&](internal::RowMaker* maker, std::size_t j) {
    maker->undistort(j, map_x + j * width, map_y + j * width);
  });
}

}  // namespace norv::calibration
