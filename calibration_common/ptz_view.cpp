// A pan-tilt-zoom camera at one position, ready to use.

#include <algorithm>
#include <cmath>
#include <memory>

#include "calibration_common/camera_view.h"
#include "calibration_common/ptz_camera_model.h"
#include "calibration_common/view_record.h"
#include "support/lens_distortion.h"

namespace norv::calibration {

std::optional<CameraView> PTZCameraModelConfiguration::view() const {
  const PTZIntrinsicsTable& table = model_->getParams().intrinsics();
  if (table.image_width() <= 0 || table.image_height() <= 0) return std::nullopt;
  const bool has_lens = K_.allFinite() && std::all_of(distortion_.begin(), distortion_.end(),
                                                      [](float k) { return std::isfinite(k); });
  if (!has_lens) return std::nullopt;
  const Eigen::Matrix3d k = K_.cast<double>();
  const CameraModel model = {table.image_width(),
                             table.image_height(),
                             k(0, 0),
                             k(1, 1),
                             k(0, 1),
                             k(0, 2),
                             k(1, 2),
                             lensFromCoefficients<double>(distortion_.data(), distortion_.size())};
  internal::ViewSource source;
  source.is_from_table = true;
  return CameraView(std::make_shared<const internal::ViewRecord>(model, camera_transform_, source));
}

}  // namespace norv::calibration
