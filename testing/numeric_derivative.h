#pragma once

/// Derivatives by differences, the reference for derivatives that are computed otherwise.

#include <cmath>
#include <limits>

namespace norv::testing {

/// Central difference of `f` at `x`, its step the one that balances truncation (h^2) with rounding
/// (epsilon / h) in the scalar's precision. The error is of the order of epsilon^(2/3).
template <class T, class Function>
T numericDerivative(const Function& f, T x) {
  const T h = std::cbrt(std::numeric_limits<T>::epsilon()) * std::fmax(T(1), std::fabs(x));
  // The step that is really taken, after rounding.
  const volatile T above = x + h;
  const volatile T below = x - h;
  return (f(T(above)) - f(T(below))) / (T(above) - T(below));
}

}  // namespace norv::testing
