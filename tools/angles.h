#pragma once

/// Angles are radians inside and degrees for people.

namespace norv::tools {

inline constexpr double kPi = 3.14159265358979323846;

constexpr double degrees(double radians) { return radians * (180 / kPi); }
constexpr double radians(double degrees) { return degrees * (kPi / 180); }

}  // namespace norv::tools
