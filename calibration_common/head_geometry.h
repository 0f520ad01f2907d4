#pragma once

/// How a pan-tilt head suits the pointing computation. Frames and the reasons:
/// docs/pan_tilt_heads.md.

#include "proto/norv_pan_tilt_system.pb.h"

namespace norv::calibration {

/// What the closed form that starts the pointing computation takes for granted, measured. All of it
/// is at zero tilt and in the pan frame.
struct HeadGeometry {
  double azimuth;    ///< of the optical axis about the pan axis, radians
  double elevation;  ///< of the optical axis above the plane of pan, radians
  double axis_gap;   ///< distance of the optical axis from the pan axis, metres
  /// Angle of the tilt joint's axis to the line that is square to the pan axis and to the optical
  /// axis, radians; NaN where those two are parallel.
  double tilt_axis_error;
};

/// Measures a head whose poses have 12 values each.
HeadGeometry describeHead(const PanTiltSystemParameters& head);

}  // namespace norv::calibration
