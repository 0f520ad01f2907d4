#pragma once

#include <Eigen/Core>
#include <cstddef>
#include <vector>

#include "support/lens_distortion.h"

namespace norv::interop {

/// Keeps a lens from folding and from having a pole within the unit circle: a sum of logarithms
/// that is finite where it does neither (Boyd and Vandenberghe, Convex Optimization, Cambridge
/// 2004, section 11.2).
///
/// With N and D the lens' numerator and denominator and their slopes by the squared radius s, the
/// radial map has the slope F / D^2, F = D N + 2 s (N' D - N D'). The terms are log(D) and
/// log(F - least D^2), the least slope keeping the map from falling between the radii that are
/// looked at: those of equal steps, and those of equal steps of the angle. Immutable.
class RisingBarrier {
 public:
  /// How closely is looked.
  struct Care {
    std::size_t radii;   ///< of each kind
    double least_slope;  ///< of the radial map, whose slope is 1 at the centre
  };

  /// `unit` is tan(theta) of the rays at the unit circle.
  RisingBarrier(double unit, const Care& care);

  /// Minus the sum of the logarithms; infinity where one of them has none.
  double value(const calibration::LensDistortion<double>& lens) const;

  /// The derivatives of the logarithms by the free coefficients, indices in storage order: as many
  /// rows as `rows` says, and a column for each coefficient. The lens must have a finite value.
  std::size_t rows() const { return 2 * squared_radii_.size(); }
  void putDerivatives(const calibration::LensDistortion<double>& lens,
                      const std::vector<std::size_t>& free,
                      Eigen::Ref<Eigen::MatrixXd> derivatives) const;

 private:
  std::vector<double> squared_radii_;
  double least_slope_;
};

}  // namespace norv::interop
