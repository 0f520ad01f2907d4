#pragma once

/// Fits in tests.

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "interop/lens_fit.h"

namespace norv::interop::testing {

constexpr double kDegree = 3.14159265358979323846 / 180;

/// The camera with the fitted lens, which there must be.
inline calibration::CameraModel fittedTo(const PeerCamera& source, int coefficients = 8) {
  const auto fit = fitLens(source, coefficients);
  if (const auto* reason = std::get_if<std::string>(&fit)) {
    ADD_FAILURE() << *reason;
    return {source.size.width, source.size.height, 1, 1, 0, 0, 0, {}};
  }
  return std::get<calibration::CameraModel>(fit);
}

/// Its deviation, which there must be.
inline LensDeviation deviationOf(const PeerCamera& source, const calibration::CameraModel& target) {
  const auto deviation = measureDeviation(source, target);
  if (const auto* reason = std::get_if<std::string>(&deviation)) {
    ADD_FAILURE() << *reason;
    return {std::nan(""), std::nan(""), 0};
  }
  return std::get<LensDeviation>(deviation);
}

/// Why there is no fit; "" where there is one.
inline std::string fitRefusal(const PeerCamera& source, int coefficients = 8) {
  const auto fit = fitLens(source, coefficients);
  const auto* const reason = std::get_if<std::string>(&fit);
  return reason == nullptr ? "" : *reason;
}

/// A camera of 1280x960 with a radial map, its principal point in the middle, without a focal
/// length yet.
inline PeerCamera radialCamera(const RadialMap& map) {
  PeerCamera camera;
  camera.size = {1280, 960};
  camera.cx = 640;
  camera.cy = 480;
  camera.lens = map;
  return camera;
}

/// One whose corners, 800 pixels from the middle, are at `angle`, radians.
inline PeerCamera withCornersAt(double angle, const RadialMap& map = {}) {
  PeerCamera camera = radialCamera(map);
  camera.fx = camera.fy = 800 / radiusAt(map, angle);
  return camera;
}

}  // namespace norv::interop::testing
