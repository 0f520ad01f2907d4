#pragma once

#include <cstddef>
#include <optional>

#include "support/lens_distortion.h"
#include "support/numeric/polynomial_zero.h"

namespace norv::internal {

/// The first monotone branch of a lens' radial map r_d(r) = r N / D, N and D being the numerator
/// and the denominator at s = r^2: the radii from 0 up to the first zero of D (a pole) or of
///
///     d(r_d)/dr = F / D^2,   F = D N + 2 s (N' D - N D')
///
/// (a fold). On it r_d rises; beyond it, several radii can share one r_d.
class RadialBranch {
 public:
  /// The coefficients must be finite.
  explicit RadialBranch(const calibration::LensDistortion<double>& l)
      : denominator_{1, l.k4, l.k5, l.k6, 0, 0, 0},
        // n_i s^i times d_j s^j enters F with the weight 1 + 2 (i - j).
        slope_{1,
               3 * l.k1 - l.k4,
               5 * l.k2 + l.k1 * l.k4 - 3 * l.k5,
               7 * l.k3 + 3 * l.k2 * l.k4 - l.k1 * l.k5 - 5 * l.k6,
               5 * l.k3 * l.k4 + l.k2 * l.k5 - 3 * l.k1 * l.k6,
               3 * l.k3 * l.k5 - l.k2 * l.k6,
               l.k3 * l.k6},
        denominator_squared_{1,
                             2 * l.k4,
                             l.k4 * l.k4 + 2 * l.k5,
                             2 * (l.k6 + l.k4 * l.k5),
                             l.k5 * l.k5 + 2 * l.k4 * l.k6,
                             2 * l.k5 * l.k6,
                             l.k6 * l.k6} {}

  /// Whether the branch reaches beyond the squared radius `s`, with d(r_d)/dr above `slope` all the
  /// way there. False where cheap bounds leave it open.
  bool surelySteeper(double s, double slope) const {
    const Sextic excess = slopeExcess(slope);
    return (lowerBound<3>(denominator_, s) > 0 && lowerBound<6>(excess, s) > 0) ||
           (bernsteinPositive(denominator_, s) && bernsteinPositive(excess, s));
  }

  /// Squared radius at which the branch ends; infinity when it never does. Found on first use.
  double end();

  /// The polynomials in s: D, D^2 and F.
  const Sextic& denominator() const { return denominator_; }
  const Sextic& denominatorSquared() const { return denominator_squared_; }
  const Sextic& slope() const { return slope_; }

 private:
  /// F - slope D^2.
  Sextic slopeExcess(double slope) const {
    Sextic excess = slope_;
    for (std::size_t i = 0; i < excess.size(); ++i) excess[i] -= slope * denominator_squared_[i];
    return excess;
  }

  /// A lower bound of the polynomial on [0, s] by Horner's rule: where the rest of the sum is at
  /// least L, t L is at least min(0, s L).
  template <std::size_t kDegree>
  static double lowerBound(const Sextic& c, double s) {
    double bound = c[kDegree];
    for (std::size_t i = kDegree; i-- > 0;) {
      const double product = s * bound;
      bound = c[i] + (product < 0 ? product : 0);
    }
    return bound;
  }

  Sextic denominator_;          ///< D
  Sextic slope_;                ///< F
  Sextic denominator_squared_;  ///< D^2
  std::optional<double> end_;   ///< nothing until it has been asked for
};

}  // namespace norv::internal
