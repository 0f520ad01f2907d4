// A fixed camera at one of the sizes that it delivers, ready to use.

#include <algorithm>
#include <memory>

#include "calibration_common/camera_models.h"
#include "calibration_common/camera_parameters.h"
#include "calibration_common/camera_view.h"
#include "calibration_common/intrinsics_model.h"
#include "calibration_common/view_record.h"

namespace norv::calibration {
std::optional<CameraView> CameraParameters::view(int width, int height) const {
  if (width <= 0 || height <= 0) return std::nullopt;
  const auto entry =
      std::find_if(intrinsics_.begin(), intrinsics_.end(), [&](const Intrinsics& candidate) {
        return candidate.width == width && candidate.height == height;
      });
  if (entry == intrinsics_.end()) return std::nullopt;
  internal::ViewSource source;
  source.is_from_table = true;
  // Where the sensor warps an image, its intrinsics were fitted again.
  source.is_rectified_by_sensor = refit_ && entry - intrinsics_.begin() == internal::kWarpedCrop;
  return CameraView(
      std::make_shared<const internal::ViewRecord>(internal::modelOf(*entry), transform_, source));
}

}  // namespace norv::calibration
