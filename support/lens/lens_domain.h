#pragma once

#include "support/lens_distortion.h"

namespace norv::internal {

/// Where the first branch of a lens (`LensInverse` defines it) lies, as squared radii.
struct LensDomain {
  /// NaN in both where a coefficient is NaN or exceeds the range of float.
  explicit LensDomain(const calibration::LensDistortion<double>& lens);

  /// All points with s < `certain` lie on the branch. Without tangential terms it is `end`.
  double certain;
  /// No point with s >= `end` does: the radial map folds or meets a pole. Infinity where it never
  /// does.
  double end;
};

}  // namespace norv::internal
