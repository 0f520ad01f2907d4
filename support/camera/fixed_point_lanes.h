#pragma once

/// Places of maps in fixed point, as `cv::convertMaps` makes them: thirty-seconds of a pixel. For
/// the lanes of one instruction set (lanes.h), of which twice as many hold single precision.

#include <cstddef>
#include <cstdint>
#include <utility>

#include "support/camera/lanes.h"

namespace norv::internal::NORV_KERNELS {

#ifdef __AVX2__
inline constexpr std::size_t kPlaces = 8;
using PlaceFloats = float __attribute__((vector_size(32)));
using PlaceInts = std::int32_t __attribute__((vector_size(32)));
using PlaceShorts = std::uint16_t __attribute__((vector_size(16)));
#else
inline constexpr std::size_t kPlaces = 4;
using PlaceFloats = float __attribute__((vector_size(16)));
using PlaceInts = std::int32_t __attribute__((vector_size(16)));
using PlaceShorts = std::uint16_t __attribute__((vector_size(8)));
#endif

/// Rounded to the nearest integer, halves to even; the least one for what exceeds them all and for
/// NaN.
inline PlaceInts roundPlaces(const PlaceFloats& x) {
#if defined(__AVX2__)
  return __builtin_ia32_cvtps2dq256(x);
#elif defined(__SSE2__)
  return __builtin_ia32_cvtps2dq(x);
#else
  PlaceInts rounded;
  for (std::size_t i = 0; i < kPlaces; ++i) {
    constexpr double kRounder = 0x1.8p52;
    const double whole = (static_cast<double>(x[i]) + kRounder) - kRounder;
    const bool fits = whole >= -0x1p31 && whole < 0x1p31;
    rounded[i] = fits ? static_cast<std::int32_t>(whole) : INT32_MIN;
  }
  return rounded;
#endif
}

/// The whole part of thirty-seconds, in the range of 16 bits.
inline PlaceInts wholeOf(const PlaceInts& thirty_seconds) {
  const PlaceInts whole = thirty_seconds >> 5;
  const PlaceInts most = PlaceInts{} + 32767;
  const PlaceInts least = PlaceInts{} - 32768;
  const PlaceInts bounded = whole > most ? most : whole;
  return bounded < least ? least : bounded;
}

/// x and y of each place, 16 bits each, side by side.
inline PlaceInts sideBySide(const PlaceInts& x, const PlaceInts& y) {
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
  return (x << 16) | (y & 0xFFFF);
#else
  return (x & 0xFFFF) | (y << 16);
#endif
}

/// kPlaces elements of a map in fixed point.
inline void storePlaces(const float* map_x, const float* map_y, std::int16_t* xy,
                        std::uint16_t* fraction) {
  PlaceFloats place_x;
  PlaceFloats place_y;
  __builtin_memcpy(&place_x, map_x, sizeof(place_x));
  __builtin_memcpy(&place_y, map_y, sizeof(place_y));
  const PlaceInts x = roundPlaces(32 * place_x);
  const PlaceInts y = roundPlaces(32 * place_y);
  const PlaceInts whole = sideBySide(wholeOf(x), wholeOf(y));
  const auto rest = __builtin_convertvector((y & 31) * 32 + (x & 31), PlaceShorts);
  __builtin_memcpy(xy, &whole, sizeof(whole));
  __builtin_memcpy(fraction, &rest, sizeof(rest));
}

}  // namespace norv::internal::NORV_KERNELS
