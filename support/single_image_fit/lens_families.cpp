#include "support/single_image_fit/lens_families.h"

#include <cmath>

namespace norv::calibration::single_image_fit {

double imageRadius(const LensFamily& family, double field_angle) {
  return family.tau > 0 ? std::tan(family.tau * field_angle) / family.tau : field_angle;
}

double fieldAngle(const LensFamily& family, double image_radius) {
  return family.tau > 0 ? std::atan(family.tau * image_radius) / family.tau : image_radius;
}

}  // namespace norv::calibration::single_image_fit
