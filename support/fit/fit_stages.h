#pragma once

#include <vector>

#include "support/fit/fitted_camera.h"
#include "support/fit/lens_families.h"
#include "support/fit/planar_view.h"

namespace norv::internal::fit {

/// One fit of the view, from one lens family on.
struct Candidate {
  const LensFamily* family;
  FittedCamera camera;
  double squared_error;  ///< sum over the points, squared pixels
  double prior_cost;     ///< Priors::cost without the focal length
  double sigma;          ///< noise that the priors were weighted with, pixels
};

/// Smallest noise, in pixels, that observations are credited with, unless they turn out to be
/// exact.
inline constexpr double kMinNoise = 0.1;

/// Fits the view from those lens families that promise most, three at most.
///
/// First focal length and pose are fitted for every family. The two best go on, and the pinhole one
/// while it is not hopeless: with 6 or more distinct points to the principal point and a mild lens,
/// with 12 or more to all 18 unknowns. The priors are weighted by the noise that is found, that on
/// the focal length goes when the view determines it, and all of them fade out when the view is
/// exact. Empty when no family has a start.
std::vector<Candidate> fitCandidates(const PlanarView& view);

}  // namespace norv::internal::fit
