#pragma once

#include "interop/fit/lens_problem.h"
#include "interop/fit/rising_barrier.h"

namespace norv::interop {

/// The coefficients with the least largest miss that are reached from `start`, at which the barrier
/// is finite, and so at the answer.
///
/// The p-norm of the misses' lengths is minimised for rising powers of two up to 1024, by Newton's
/// method on its convex part (Fletcher, Grant, Hebden: The calculation of linear best Lp
/// approximations, Computer Journal 14, 1971). Of m misses, the largest of the one with the least
/// p-norm exceeds the least largest one by m^(1/p) at most, 0.8 % for 3000, and where it is seen to
/// be closer than 0.2 % this ends. Thread-safe; takes a fraction of a millisecond for hundreds of
/// samples.
LensCoefficients leastLargestMiss(const LensProblem& problem, const RisingBarrier& barrier,
                                  const LensCoefficients& start);

/// A lens with a small sum of squared misses, from the one that does nothing: the barrier is
/// lowered step by step from where nothing else counts. A start where that of the linear fit folds.
LensCoefficients startWithin(const LensProblem& problem, const RisingBarrier& barrier);

}  // namespace norv::interop
