#pragma once

/// Conversions to int that are defined for every input.

#include <cstdint>
#include <limits>

namespace norv::internal {

/// `value` truncated toward zero; beyond the range of int its nearest end, and 0 for NaN.
inline int truncateToInt(double value) {
  if (value >= static_cast<double>(std::numeric_limits<int>::max())) {
    return std::numeric_limits<int>::max();
  }
  if (value <= static_cast<double>(std::numeric_limits<int>::min())) {
    return std::numeric_limits<int>::min();
  }
  return value == value ? static_cast<int>(value) : 0;
}

/// `value`, or the end of the range of int that it lies beyond.
inline int clampToInt(std::int64_t value) {
  if (value > std::numeric_limits<int>::max()) return std::numeric_limits<int>::max();
  if (value < std::numeric_limits<int>::min()) return std::numeric_limits<int>::min();
  return static_cast<int>(value);
}

}  // namespace norv::internal
