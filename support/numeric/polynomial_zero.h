#pragma once

#include <array>

namespace norv::internal {

/// Coefficients of a polynomial of degree 6 at most, that of s^i at index i.
using Sextic = std::array<double, 7>;

/// Smallest positive zero of a polynomial that is 1 at 0; infinity where it has none.
///
/// The coefficients must be finite. A minimum that rounding cannot tell from zero may count as one.
/// Takes a fraction of a microsecond where the coefficients change their sign once.
double firstPositiveZero(const Sextic& polynomial);

/// Whether the polynomial is positive on all of [0, end], as far as its coefficients in the
/// Bernstein basis of that interval tell: they bound it from below. False says nothing.
bool bernsteinPositive(const Sextic& polynomial, double end);

}  // namespace norv::internal
