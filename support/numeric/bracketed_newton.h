#pragma once

#include <cmath>
#include <limits>

#include "support/numeric/value_and_slope.h"

namespace norv::internal {

/// Zero of `function` between `below`, where its value is negative, and `above`, where it is
/// positive (either may be the larger), sought from `start`: Newton's iteration, replaced by
/// bisection where it leaves the bracket or fails to halve its step. Ends within a few roundings of
/// a zero. The slope may vanish or be NaN; one that is larger than the function's would end it
/// early.
template <class Function>
double bracketedNewton(const Function& function, double below, double above, double start) {
  constexpr double kTolerance = 4 * std::numeric_limits<double>::epsilon();
  double x = start;
  double last_step = std::abs(above - below);
  while (std::abs(above - below) > kTolerance * std::abs(x)) {
    const ValueAndSlope at = function(x);
    const double newton = x - at.value / at.slope;
    if (std::abs(newton - x) <= kTolerance * std::abs(x)) return newton;
    (at.value < 0 ? below : above) = x;
    const bool converges =
        (newton - below) * (newton - above) <= 0 && std::abs(newton - x) <= 0.5 * last_step;
    const double next = converges ? newton : below + 0.5 * (above - below);
    if (next == x) return x;
    last_step = std::abs(next - x);
    x = next;
  }
  return x;
}

}  // namespace norv::internal
