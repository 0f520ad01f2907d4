#include "support/fit/lens_families.h"

#include <cmath>

namespace norv::internal::fit {

double imageRadius(const LensFamily& family, double field_angle) {
  return family.tau > 0 ? std::tan(family.tau * field_angle) / family.tau : field_angle;
}

double fieldAngle(const LensFamily& family, double image_radius) {
  return family.tau > 0 ? std::atan(family.tau * image_radius) / family.tau : image_radius;
}

}  // namespace norv::internal::fit
