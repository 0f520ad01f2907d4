#pragma once

/// Places of maps in fixed point, as `cv::convertMaps` makes them: thirty-seconds of a pixel. For
/// the lanes of one instruction set (lanes.h).

#include <cstdint>

#include "support/camera/lanes.h"

namespace norv::internal::NORV_KERNELS {

using Integers = std::int32_t __attribute__((vector_size(NORV_LANES * sizeof(std::int32_t))));

/// Thirty-seconds, halves rounded to even; the least integer for what exceeds them all and for NaN.
inline Integers toThirtySeconds(const Lanes& x) {
  constexpr double kRounder = 0x1.8p52;
  const Lanes rounded = (32 * x + kRounder) - kRounder;
  const Mask fits = both(rounded >= -0x1p31, rounded < 0x1p31);
  return __builtin_convertvector(select(fits, rounded, Lanes(-0x1p31)).v, Integers);
}

/// The whole part of thirty-seconds, in the range of 16 bits.
inline Integers wholeOf(const Integers& thirty_seconds) {
  const Integers whole = thirty_seconds >> 5;
  const Integers most = Integers{} + 32767;
  const Integers least = Integers{} - 32768;
  const Integers bounded = whole > most ? most : whole;
  return bounded < least ? least : bounded;
}

}  // namespace norv::internal::NORV_KERNELS
