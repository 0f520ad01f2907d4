#pragma once

#include "interop/fit/lens_problem.h"

namespace norv::interop {

/// A lens close to the one with the least sum of squared misses: the misses times the denominator
/// are linear in the coefficients, and are divided by the denominator of the lens before
/// (Sanathanan and Koerner, Transfer function synthesis as a ratio of two complex polynomials, IEEE
/// Trans. Automatic Control 8, 1963). `caution` times the least misses is what a coefficient of 1
/// costs: with 0, coefficients can become huge where numerator and denominator all but share a
/// factor. May fold or have poles. Thread-safe.
LensCoefficients linearStart(const LensProblem& problem, double caution);

}  // namespace norv::interop
