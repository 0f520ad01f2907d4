#pragma once

#include <Eigen/Core>
#include <optional>

#include "support/fit/fitted_camera.h"
#include "support/fit/normal_equations.h"
#include "support/fit/planar_view.h"
#include "support/fit/priors.h"
#include "support/fit/regular_map.h"

namespace norv::internal::fit {

/// What the fit minimises, in squared pixels:
///
///     sum |projected - observed|^2
///       + sigma^2 sum (prior deviations)^2
///       + sum (regularity rows)^2
///
/// With observation noise of standard deviation sigma in each coordinate it is the negative
/// logarithm of the posterior probability, but for the last term.
struct FitProblem {
  const PlanarView* view;
  Priors priors;
  double sigma;                              ///< pixels
  std::optional<RegularityRows> regularity;  ///< nothing while the lens is not fitted

  /// Infinite where a point does not project or the camera is no camera.
  double cost(const FittedCamera& camera) const;

  /// The rows at a camera of finite cost, summed up.
  NormalEquations linearize(const FittedCamera& camera) const;
};

/// Sum of the squared distances, in pixels, between observed and projected points; infinite where
/// one does not project.
double squaredImageError(const PlanarView& view, const FittedCamera& camera);

}  // namespace norv::internal::fit
