#pragma once

/// A camera whose seen directions can be worked out by hand.

#include <Eigen/Core>
#include <cmath>

#include "testing/example_ptz.h"

namespace norv::testing {

constexpr double kPi = 3.14159265358979323846;

/// The example's motors and focal lengths, without distortion and without lever arms.
inline calibration::PTZCameraParameters armlessPtz() {
  calibration::PTZCameraParameters ptz = examplePtz();
  *ptz.mutable_intrinsics() = pinholeLens();
  *ptz.mutable_pan_tilt() = headWithoutLeverArms();
  return ptz;
}

/// Unit vector, in the base frame; radians.
inline Eigen::Vector3d direction(double azimuth, double elevation) {
  return {std::cos(elevation) * std::cos(azimuth), std::cos(elevation) * std::sin(azimuth),
          std::sin(elevation)};
}

/// Of the example's motors, radians.
inline double angleOf(int steps) { return steps * static_cast<double>(0.0005F); }

}  // namespace norv::testing
