#pragma once

/// What a pan-tilt-zoom camera can see over the whole range of its motors. Units and frames:
/// docs/conventions.md. Logs nothing. Thread-safe.

#include <Eigen/Core>
#include <cstddef>
#include <vector>

#include "../support/export.h"
#include "ptz_camera_model.h"

namespace norv::calibration {

/// What counts as seen.
enum class PtzSight {
  /// On the optical axis, which passes near the picture's middle: apart from the rounding to steps,
  /// and within 1e-6 rad.
  kCentred,
  /// Anywhere in the picture, its border included, at the zoom of the range with the shortest focal
  /// length.
  kInPicture,
};

/// Whether there are motor positions within their range at which the camera sees a point of the
/// world (base frame, metres). A limit that is absent is the end of what int holds; where a minimum
/// exceeds its maximum the maximum wins. False for a model that is not valid, for motors and points
/// that are not finite, where the head's axes are parallel for `kCentred`, and where there is no
/// zoom (`zoomRange`) or no image size for `kInPicture`.
///
/// Allocates nothing. Takes a microsecond for `kCentred`, up to a millisecond for `kInPicture`.
NORV_EXPORT bool canSee(const PTZCameraModel& model, const Eigen::Vector3d& point,
                        PtzSight sight = PtzSight::kInPicture);

/// Elevations that are seen at an azimuth, radians.
struct ElevationSpan {
  double azimuth;
  double lowest;
  double highest;
};

/// What the head can see at a distance, by directions from where it turns.
struct PtzCoverage {
  /// Where directions start: the point of the pan axis that is nearest to the tilt axis, in the
  /// base frame, metres. NaN where the two are parallel.
  Eigen::Vector3d centre;
  /// The spans in increasing order of azimuth, which is counted about the base frame's z from its x
  /// axis, in [-pi, pi); at one azimuth in increasing order of elevation. An azimuth at which
  /// nothing is seen has none.
  std::vector<ElevationSpan> spans;
};

/// The boundary of what can be seen `distance` metres from where the head turns, at `azimuths`
/// azimuths spread evenly. Elevations are good to 1e-6 rad; spans, and gaps between them, that
/// are narrower than half a degree may be missed. No spans for a model that is not valid or whose
/// head has parallel axes, and for a distance that is not positive and finite. Takes a fifth of
/// a millisecond per azimuth for `kCentred`, a few milliseconds for `kInPicture`.
NORV_EXPORT PtzCoverage coverage(const PTZCameraModel& model, double distance,
                                 PtzSight sight = PtzSight::kCentred, std::size_t azimuths = 360);

}  // namespace norv::calibration
