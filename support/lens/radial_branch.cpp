#include "support/lens/radial_branch.h"

#include <algorithm>

namespace norv::internal {

double RadialBranch::end() {
  if (!end_) end_ = std::min(firstPositiveZero(denominator_), firstPositiveZero(slope_));
  return *end_;
}

}  // namespace norv::internal
