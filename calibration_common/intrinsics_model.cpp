#include "calibration_common/intrinsics_model.h"

#include "support/lens_distortion.h"

namespace norv::internal {

calibration::CameraModel modelOf(const calibration::CameraParameters::Intrinsics& entry) {
  const auto number = [](float value) { return static_cast<double>(value); };
  return {
      entry.width,
      entry.height,
      number(entry.fx),
      number(entry.fy),
      number(entry.skew),
      number(entry.cx),
      number(entry.cy),
      calibration::lensFromCoefficients<double>(entry.distortion.data(), entry.distortion.size())};
}

}  // namespace norv::internal
