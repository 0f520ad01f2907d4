#pragma once

#include <string>
#include <variant>
#include <vector>

#include "interop/peer_camera.h"

namespace norv::interop {

/// A ray of a camera, and where the camera's lens puts it, both as normalised image coordinates.
/// The camera matrix takes the second one to the pixel.
struct RaySample {
  calibration::NormalizedPoint<double> ray;
  calibration::NormalizedPoint<double> imaged;
};

/// Of a picture.
struct PictureRays {
  std::vector<RaySample> samples;
  double share = 0;  ///< of the points: those that have a ray
};

/// The rays that a camera has at points of its picture, pixels from the image's corner, in their
/// order. Points beyond the end of the lens, such as the dark corners around an image circle, have
/// none. Or why there are none, as a part of a sentence: a camera matrix that is none, hardly a
/// point with a ray, rays at 90 degrees or more from the axis, which have no place in a plane.
/// Thread-safe.
std::variant<PictureRays, std::string> raysOfPicture(
    const PeerCamera& camera, std::vector<calibration::NormalizedPoint<double>> points);

}  // namespace norv::interop
