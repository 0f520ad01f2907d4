#pragma once

namespace norv::internal {

inline constexpr double kPi = 3.14159265358979323846;
inline constexpr double kHalfPi = 1.57079632679489661923;

/// An angle given in degrees, in radians.
constexpr double radians(double degrees) { return degrees * (kPi / 180); }

/// An angle given in radians, in degrees.
constexpr double degrees(double radians) { return radians * (180 / kPi); }

}  // namespace norv::internal
