#pragma once

/// Keeps the radial map of the lens one-to-one out to the image corners.

#include <Eigen/Core>
#include <array>
#include <optional>

#include "support/fit/fitted_camera.h"
#include "support/fit/lens_families.h"
#include "support/fit/normal_equations.h"
#include "support/lens_distortion.h"

namespace norv::internal::fit {

/// Distance of the farthest image corner from the principal point, in focal lengths.
double cornerRadius(const FittedCamera& camera, const Eigen::Vector2d& half_size);

/// One-sided penalties on the lens at 32 radii out to a little beyond the farthest image corner:
/// rows of a least-squares problem that are zero for every reasonable lens. With the radial factor
/// g = N / D and r_d = r g the image radius of rays at the angle theta, r = tan(theta), they ask
/// for
///
///   - a denominator D of at least 0.1,
///   - a slope d(r_d)/d(theta) of at least 0.2 focal lengths per radian (lenses have five to ten
///     times that), and
///   - a map that reaches the farthest corner at the last radius.
class RegularityRows {
 public:
  /// Radii for an image of `half_size`, where the camera's corner lies by the lens `family`.
  RegularityRows(const FittedCamera& camera, const LensFamily& family,
                 const Eigen::Vector2d& half_size);

  /// Sum of squares of the rows.
  double cost(const FittedCamera& camera) const;

  /// Adds those rows that are not zero.
  void addRows(const FittedCamera& camera, NormalEquations* equations) const;

 private:
  template <class T, class Add>
  void forEachViolation(const calibration::LensDistortion<T>& lens, const Add& add) const;

  static constexpr int kCount = 32;
  std::array<double, kCount> squared_radii_;
  double reach_;  ///< smallest image radius at the last of them
};

/// N / D at the radius that the lens images at the farthest corner, or nothing when it does not get
/// there on a rising branch with positive denominator. A lens without that ratio folds or has a
/// pole within the image.
std::optional<double> cornerRatio(const FittedCamera& camera, const Eigen::Vector2d& half_size);

}  // namespace norv::internal::fit
