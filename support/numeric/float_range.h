#pragma once

#include <limits>

namespace norv::internal {

/// The largest float, as a double: what is beyond it, or NaN, is no answer and no input.
inline constexpr double kMaxFloat = static_cast<double>(std::numeric_limits<float>::max());

/// False for NaN too.
inline bool isInFloatRange(double value) { return value <= kMaxFloat && value >= -kMaxFloat; }

}  // namespace norv::internal
