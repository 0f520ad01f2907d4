#pragma once

/// The lens between two zoom samples.

#include "proto/norv_ptz_camera.pb.h"
#include "support/lens_distortion.h"

namespace norv::internal {

/// A camera at a zoom position, in double precision: focal length and principal point in pixels,
/// and its lens, with k3 and k6 zero.
struct ZoomLens {
  double weight_a;  ///< of the two samples, by position
  double weight_b;
  double focal_length;
  double cx;
  double cy;
  calibration::LensDistortion<double> lens;
};

/// The focal-length-weighted mean of two samples' lenses at the zoom position `zoom`, steps.
///
/// Each sample has the radial factor (1 + k1 s) / (1 + k4 s), and the mean over the common
/// denominator is a rational lens with k1, k2, k4 and k5. Principal point and tangential distortion
/// are interpolated by position. Where both samples have one zoom position nothing is finite.
/// Thread-safe.
ZoomLens blendLenses(const calibration::PTZIntrinsicsItem& a,
                     const calibration::PTZIntrinsicsItem& b, double zoom);

}  // namespace norv::internal
