#include "support/radial_branch.h"

#include <algorithm>

namespace norv::calibration {

double RadialBranch::end() {
  if (end_ < 0)
    end_ = std::min(internal::firstPositiveZero(denominator_), internal::firstPositiveZero(slope_));
  return end_;
}

}  // namespace norv::calibration
