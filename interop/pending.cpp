// Stands in until the real ones land: whoever lands one removes it here, the last one removes this
// file.
#include "interop/lens_fit.h"

namespace norv::interop {

std::optional<calibration::CameraModel> exactModel(const PeerCamera& source) {
  const auto* lens = std::get_if<calibration::LensDistortion<double>>(&source.lens);
  if (lens == nullptr) return std::nullopt;
  return calibration::CameraModel{source.size.width, source.size.height, source.fx, source.fy,
                                  source.skew,       source.cx,          source.cy, *lens};
}

std::variant<LensDeviation, std::string> measureDeviation(const PeerCamera& /*source*/,
                                                          const calibration::CameraModel&) {
  return LensDeviation{};
}

std::variant<calibration::CameraModel, std::string> fitLens(const PeerCamera& source,
                                                            int /*coefficients*/) {
  if (const auto exact = exactModel(source)) return *exact;
  return std::string("pending");
}

}  // namespace norv::interop
