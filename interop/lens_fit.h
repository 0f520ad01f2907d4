#pragma once

/// A lens in the place of another one, and how far the pictures of the two are apart.

#include <string>
#include <variant>

#include "interop/peer_camera.h"
#include "support/camera_model.h"

namespace norv::interop {

/// How far two cameras with one picture size put the same rays apart, pixels, over a grid of 61
/// columns and as many rows as make its cells square, the picture's border included.
struct LensDeviation {
  double max = 0;
  double rms = 0;
  /// Of the grid's points: those at which the source has a ray.
  double share = 1;
};

/// "max E px, rms E px at WxH", followed by ", S % of the picture", rounded down, where not all of
/// it has rays.
std::string describe(const LensDeviation& deviation, const calibration::PixelSize& size);

/// The largest and the mean deviation of `target` from `source`, of the rays that `source` has at
/// the points of the grid; or why there is none, such as "the picture reaches 97 degrees from the
/// axis, and a rational lens holds rays at less than 90 degrees". Thread-safe.
std::variant<LensDeviation, std::string> measureDeviation(const PeerCamera& source,
                                                          const calibration::CameraModel& target);

/// The camera with that many coefficients in OpenCV's order, 0, 4, 5 or 8, whose largest deviation
/// from `source` over the grid and between its points is least, and which has the same camera
/// matrix (for radial maps: that times `slopeOnAxis`); all further coefficients are zero, and so
/// are the tangential ones for radial maps without `then`. A source whose lens has no other
/// coefficients is returned as it is.
///
/// The radial part of the answer rises and has no pole up to the farthest ray of the picture, and
/// all its rays are on the first branch. A string says why there is none: the picture reaches rays
/// at 90 degrees from the axis or beyond, or has hardly any. Where the source's lens ends within
/// the picture, its other points count. Thread-safe; takes milliseconds for radial maps, up to a
/// hundred for others.
std::variant<calibration::CameraModel, std::string> fitLens(const PeerCamera& source,
                                                            int coefficients);

/// The camera, if its lens is the library's own, or an extended one without extra terms: the same
/// doubles.
std::optional<calibration::CameraModel> exactModel(const PeerCamera& source);

}  // namespace norv::interop
