#pragma once

namespace norv::internal::head_limits {

/// Degrees. An azimuth that is off misses the targets within twice as much of the pan axis.
inline constexpr double kMaxAzimuthError = 0.05;
/// The elevation may be between 0 and this.
inline constexpr double kMaxElevation = 30;
inline constexpr double kElevationTolerance = 0.05;
/// With a tilt axis off by 1 degree 0.8 % of 3000 random targets are missed.
inline constexpr double kMaxTiltAxisError = 1;
/// Metres: the pointing computation accepts an error of 1e-5 square metres.
inline constexpr double kMaxAxisGap = 0.0031622776601683794;

}  // namespace norv::internal::head_limits
