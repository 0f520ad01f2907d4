#pragma once

#include <limits>

namespace norv::internal {

inline constexpr double kInfinity = std::numeric_limits<double>::infinity();

}  // namespace norv::internal
