#pragma once

/// OpenCV's lens of 12 and 14 coefficients.

#include "support/lens_distortion.h"

namespace norv::interop {

/// The rational lens with thin prisms and a tilted sensor. With (x, y) the rational lens' point and
/// s the squared radius of the undistorted one,
///
///     x' = x + s1 s + s2 s^2,   y' = y + s3 s + s4 s^2
///
/// (Weng, Cohen, Herniou: Camera calibration with distortion models and accuracy evaluation, PAMI
/// 14, 1992), which the tilt then maps as OpenCV documents it: (x', y', 1) is multiplied by the
/// matrix of rows (R33, 0, -R13), (0, R33, -R23), (0, 0, 1) times R, R being the rotation by tau_x
/// about x followed by the one by tau_y about y, and divided by its third component. A plain value,
/// without unit, tau in radians.
struct ExtendedLens {
  calibration::LensDistortion<double> rational;
  double s1 = 0;
  double s2 = 0;
  double s3 = 0;
  double s4 = 0;
  double tau_x = 0;
  double tau_y = 0;
};

/// Whether the lens is its rational part alone.
bool isRational(const ExtendedLens& lens);

/// Where the lens puts the ray through the undistorted point `p`; not finite at a pole.
/// Thread-safe.
calibration::NormalizedPoint<double> distort(const ExtendedLens& lens,
                                             const calibration::NormalizedPoint<double>& p);

}  // namespace norv::interop
