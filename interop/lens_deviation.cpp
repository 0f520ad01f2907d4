#include <fmt/format.h>

#include "interop/lens_fit.h"

namespace norv::interop {

std::string describe(const LensDeviation& deviation, const calibration::PixelSize& size) {
  return fmt::format("max {:.3g} px, rms {:.3g} px at {}x{}", deviation.max, deviation.rms,
                     size.width, size.height);
}

}  // namespace norv::interop
