#pragma once

/// What is believed about a camera before its picture is looked at.

#include <Eigen/Core>

#include "support/fit/fitted_camera.h"
#include "support/fit/lens_families.h"
#include "support/fit/normal_equations.h"
#include "support/fit/planar_view.h"

namespace norv::internal::fit {

/// Focal length that half the cameras are thought to lie below, in half image sides, and the
/// standard deviation of its logarithm: 0.75 to 2.1 half sides is the middle two thirds.
inline constexpr double kUsualFocalLength = 1.25;
inline constexpr double kLogFocalLengthDeviation = 0.5;

/// Independent normal distributions of ln sqrt(fx fy), ln(fx / fy), cx, cy, k1..k6, p1 and p2.
class Priors {
 public:
  /// For a lens near `family` with about `focal_length`, in an image of `half_size` (both in units
  /// of half its longer side). The radial coefficients are about those of the family, and as wide
  /// as their effect at the image corner allows.
  Priors(const LensFamily& family, double focal_length, const Eigen::Vector2d& half_size);

  /// Forgets what is believed about the focal length.
  void dropFocalLength() { weights_[kLogFocal] = 0; }

  /// Sum of the squared deviations, each in standard deviations.
  double cost(const FittedCamera& camera) const;

  /// Adds the deviations as rows of `sigma` times their number of standard deviations: a belief
  /// weighs as much as one coordinate observed with the noise `sigma`.
  void addRows(const FittedCamera& camera, double sigma, NormalEquations* equations) const;

 private:
  /// The slots of ln sqrt(fx fy) and ln(fx / fy), which stand in those of fx and fy; the others are
  /// those of Parameter.
  static constexpr int kLogFocal = kFx;
  static constexpr int kLogAspect = kFy;

  using Values = Eigen::Matrix<double, kIntrinsicCount, 1>;

  Values deviations(const FittedCamera& camera) const;

  Values means_;
  Values weights_;  ///< inverse standard deviations
};

}  // namespace norv::internal::fit
