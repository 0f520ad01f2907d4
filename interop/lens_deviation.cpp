#include <fmt/format.h>

#include <cmath>

#include "interop/lens_fit.h"

namespace norv::interop {

std::string describe(const LensDeviation& deviation, const calibration::PixelSize& size) {
  std::string text = fmt::format("max {:.3g} px, rms {:.3g} px at {}x{}", deviation.max,
                                 deviation.rms, size.width, size.height);
  if (deviation.share < 1) {
    text += fmt::format(", {:.1f} % of the picture", std::floor(1000 * deviation.share) / 10);
  }
  return text;
}

}  // namespace norv::interop
