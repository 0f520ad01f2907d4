#pragma once

#include <vector>

namespace norv::interop {

/// The smallest x of (0, end] at which the polynomial, which is positive at 0, is no more so;
/// infinity where it stays positive. Rounded down: the polynomial is positive there, by a rounding.
/// The coefficient of x^i has the index i; all are finite. Thread-safe.
double firstZero(const std::vector<double>& polynomial, double end);

}  // namespace norv::interop
