// Straightened pictures of a view.

#include "calibration_common/camera_view.h"
#include "support/rectification.h"

namespace norv::calibration {

void CameraView::makeRectifyMap(const RectifiedView& view, float* map_x, float* map_y,
                                int threads) const {
  calibration::makeRectifyMap(model(), view, map_x, map_y, threads);
}

void CameraView::makeFixedPointRectifyMap(const RectifiedView& view, std::int16_t* xy,
                                          std::uint16_t* fraction, int threads) const {
  calibration::makeFixedPointRectifyMap(model(), view, xy, fraction, threads);
}

void CameraView::makeUndistortMap(const RectifiedView& view, float* map_x, float* map_y,
                                  int threads) const {
  calibration::makeUndistortMap(model(), view, map_x, map_y, threads);
}

}  // namespace norv::calibration
