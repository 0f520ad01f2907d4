// Where the lens of a view ends, and its straightened pictures.

#include "calibration_common/camera_view.h"
#include "support/rectification.h"

namespace norv::calibration {

double CameraView::validRadius() const { return calibration::validRadius(model().lens); }

double CameraView::validHalfAngle() const { return calibration::validHalfAngle(model().lens); }

ImageCoverage CameraView::coverage() const { return calibration::coverage(model()); }

std::optional<RectifiedView> CameraView::fitView(int width, int height, double alpha,
                                                 const ViewOptions& options) const {
  return calibration::fitView(model(), width, height, alpha, options);
}

std::optional<RectifiedView> CameraView::fitView(int width, int height, ViewFit fit,
                                                 const ViewOptions& options) const {
  return calibration::fitView(model(), width, height, fit, options);
}

std::optional<PixelSize> CameraView::naturalViewSize(double alpha) const {
  return calibration::naturalViewSize(model(), alpha);
}

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
