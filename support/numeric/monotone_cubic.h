#pragma once

#include <vector>

#include "support/numeric/value_and_slope.h"

namespace norv::internal {

/// The piecewise cubic through given points that rises wherever the points do and has a continuous
/// slope: Hermite cubics with slopes limited after Fritsch and Carlson, "Monotone piecewise cubic
/// interpolation", SIAM J. Numer. Anal. 17 (1980), by the weighted harmonic mean of Fritsch and
/// Butland (1984). Immutable.
class MonotoneCubic {
 public:
  /// Three points or more, both lists of one length, finite and strictly increasing.
  ///
  /// The slope at the first point is that of the first chord, as for an odd function that starts at
  /// its centre. At the last point it is the three-point estimate, but at least a tenth of the last
  /// chord's slope, so that a straight continuation rises.
  MonotoneCubic(std::vector<double> x, std::vector<double> y);

  /// `x` lies between the first point and the last.
  ValueAndSlope at(double x) const;

 private:
  std::vector<double> x_;
  std::vector<double> y_;
  std::vector<double> slopes_;
};

}  // namespace norv::internal
