#pragma once

/// The lens between two zoom samples, and the zoom between two of them that has a focal length.

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

/// A zoom position, and the samples that it was interpolated between: both null where it was not.
struct ZoomPosition {
  int steps;
  const calibration::PTZIntrinsicsItem* lower;
  const calibration::PTZIntrinsicsItem* upper;
};

/// The zoom position at which the lens has `focal_length`, pixels, from a table of one sample or
/// more: linear in the focal length between the first longer sample and the one before it, their
/// share narrowed to single precision, the position truncated toward zero. It is 0 where already
/// the first sample is longer, and the last sample's where none is, for NaN too; those have no two
/// samples. Beyond the range of int it is its nearest end, and 0 where it is not a number.
///
/// The samples live as long as `table`. Logs nothing. Thread-safe.
ZoomPosition zoomForFocalLength(const calibration::PTZIntrinsicsTable& table, double focal_length);

}  // namespace norv::internal
