#pragma once

#include <array>
#include <cstddef>

namespace norv::internal {

/// Coefficients of a polynomial of degree kCount - 1 at most, that of s^i at index i.
template <std::size_t kCount>
using Polynomial = std::array<double, kCount>;
using Sextic = Polynomial<7>;

/// Smallest positive zero of a polynomial that is 1 at 0; infinity where it has none. For degrees
/// of 6 and 13.
///
/// 0 where a coefficient is not finite: nothing is known of it. A minimum that rounding cannot tell
/// from zero may count as one. Takes a fraction of a microsecond where the coefficients change
/// their sign once.
template <std::size_t kCount = 7>
double firstPositiveZero(const Polynomial<kCount>& polynomial);

/// Whether the polynomial is positive on all of [0, end], as far as its coefficients in the
/// Bernstein basis of that interval tell: they bound it from below. False says nothing.
bool bernsteinPositive(const Sextic& polynomial, double end);

}  // namespace norv::internal
