#include "calibration_common/review/delivered_images.h"

#include <algorithm>
#include <iterator>

namespace norv::internal::review {

std::vector<Crop> cropsOf(CameraModel model) {
  switch (model) {
    case CameraModel::kCorvelHead:
    case CameraModel::kCorvelNav:
      return {std::begin(kWideCrops), std::end(kWideCrops)};
    case CameraModel::kB910:
      return {std::begin(kB910Crops), std::end(kB910Crops)};
    case CameraModel::kOther:
      break;
  }
  return {};
}

ImageSize frameOfCrops(const std::vector<Crop>& crops) {
  ImageSize frame;
  for (const Crop& crop : crops) {
    frame.width = std::max(frame.width, crop.x0 + crop.source_width);
    frame.height = std::max(frame.height, crop.y0 + crop.source_height);
  }
  return frame;
}

PinholeImage cropped(const PinholeImage& image, const Crop& crop) {
  const double sx = static_cast<double>(crop.target_width) / crop.source_width;
  const double sy = static_cast<double>(crop.target_height) / crop.source_height;
  return {{crop.target_width, crop.target_height},
          sx * image.fx,
          sy * image.fy,
          sx * (image.cx - crop.x0),
          sy * (image.cy - crop.y0)};
}

}  // namespace norv::internal::review
