#include "support/rectification.h"

#include <cstddef>

#include "support/camera/map_rows.h"
#include "support/camera/parallel.h"
#include "support/camera/prepared_camera.h"

namespace norv::calibration {
namespace {

/// Calls `row(maker, j)` for every row of an image, with one `RowMaker` a thread.
template <class Row>
void forEachRow(const CameraModel& camera, const RectifiedView& view, const PixelSize& size,
                int threads, const Row& row) {
  if (size.width <= 0 || size.height <= 0) return;
  const internal::PreparedCamera prepared = internal::prepare(camera);
  constexpr std::size_t kRowsOfThread = 8;
  internal::inParallel(static_cast<std::size_t>(size.height), kRowsOfThread, threads,
                       [&](std::size_t begin, std::size_t end) {
                         internal::RowMaker maker(prepared, view);
                         for (std::size_t j = begin; j < end; ++j) row(&maker, j);
                       });
}

}  // namespace

void makeRectifyMap(const CameraModel& camera, const RectifiedView& view, float* map_x,
                    float* map_y, int threads) {
  const auto width = static_cast<std::size_t>(view.width);
  forEachRow(camera, view, {view.width, view.height}, threads,
             [&](internal::RowMaker* maker, std::size_t j) {
               maker->rectify(j, map_x + j * width, map_y + j * width);
             });
}

void makeFixedPointRectifyMap(const CameraModel& camera, const RectifiedView& view,
                              std::int16_t* xy, std::uint16_t* fraction, int threads) {
  const auto width = static_cast<std::size_t>(view.width);
  forEachRow(camera, view, {view.width, view.height}, threads,
             [&](internal::RowMaker* maker, std::size_t j) {
               maker->rectifyInFixedPoint(j, xy + 2 * j * width, fraction + j * width);
             });
}

void makeUndistortMap(const CameraModel& camera, const RectifiedView& view, float* map_x,
                      float* map_y, int threads) {
  const auto width = static_cast<std::size_t>(camera.width);
  forEachRow(camera, view, {camera.width, camera.height}, threads,
             [&](internal::RowMaker* maker, std::size_t j) {
               maker->undistort(j, map_x + j * width, map_y + j * width);
             });
}

}  // namespace norv::calibration
