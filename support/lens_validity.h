#pragma once

/// Where a lens ends: the rays that it images one to one, and the share of an image that they fill.
/// Units, frames, pixel origin: docs/conventions.md.

#include "camera_model.h"
#include "export.h"

namespace norv::calibration {

/// The largest r = |(x, y)| such that all rays within it lie on the first branch of the lens
/// (`rectifyPoint` defines it); infinity if all rays do, NaN where a coefficient is NaN or
/// exceeds the range of float.
///
/// Without tangential terms the branch ends there: at the first fold, where d(r_d)/dr vanishes, or
/// pole. With them it is the disc on which the Jacobian of the lens is certainly positive definite:
/// that of the tangential terms has no eigenvalue below -6 hypot(p1, p2) r. The branch then reaches
/// farther in most directions; points are told apart exactly.
///
/// Rounded down: it never exceeds the radius that is meant, and is less by 1e-12 of it or so; by up
/// to 1e-6 where the slope hardly changes its sign there. Takes microseconds. Thread-safe.
NORV_EXPORT double validRadius(const LensDistortion<double>& lens);

/// The same as an angle from the optical axis, radians: pi / 2 if all rays lie on the branch.
NORV_EXPORT double validHalfAngle(const LensDistortion<double>& lens);

/// How much of an image the first branch of the lens fills.
struct ImageCoverage {
  /// Share of the image's pixels at whose centre a ray is imaged, 0 to 1.
  double share = 0;
  /// Distance from the principal point, pixels, of the nearest pixel centre at which none is;
  /// infinity if there is one at each.
  double nearest_without_ray = 0;
};

/// The coverage of the camera's image, each pixel centre asked as `rectifyPixel` would be. NaN in
/// both where the camera is none: a focal length of zero, a number that is NaN or exceeds the range
/// of float, no pixels. Takes some ten milliseconds for a million pixels. Thread-safe; allocates
/// what a row of the image needs.
NORV_EXPORT ImageCoverage coverage(const CameraModel& camera);

}  // namespace norv::calibration
