#include "tools/output/peer_text.h"

namespace norv::tools {

const char* originText(calibration::PixelOrigin origin) {
  return origin == calibration::PixelOrigin::kPixelCentre
             ? "pixels counted from the centre of the first pixel"
             : "pixels counted from the image's corner";
}

}  // namespace norv::tools
