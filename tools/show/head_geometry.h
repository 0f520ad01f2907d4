#pragma once

/// How a pan-tilt head suits the pointing computation, and the same head written so that it does.
/// Frames and the reasons: docs/pan_tilt_heads.md.

#include "proto/norv_pan_tilt_system.pb.h"

namespace norv::tools {

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
HeadGeometry describeHead(const calibration::PanTiltSystemParameters& head);

/// Whether the azimuth is 0 or 180 degrees, as the closed form needs it.
bool hasServedAzimuth(const HeadGeometry& geometry);

/// Whether the elevation is one at which every ordinary target is found, 0 to 30 degrees.
bool hasServedElevation(const HeadGeometry& geometry);

/// Whether the tilt axis is level and square to the optical axis, as the closed form takes it.
bool hasServedTiltAxis(const HeadGeometry& geometry);

/// Whether the optical axis passes the pan axis closely enough for targets on that.
bool servesPanAxis(const HeadGeometry& geometry);

/// The turn of the tilt frame about its axis, radians, the smaller of the two, that makes the
/// optical axis at zero tilt level; NaN where none does.
double levellingTurn(const calibration::PanTiltSystemParameters& head);

/// The same head with the tilt angle's zero moved by `tau` radians and the pan frame turned so that
/// the azimuth is 0. Motor positions mean what they meant; limits and what else the message holds
/// stay. With tau = 0 the zero of tilt stays, too.
calibration::PanTiltSystemParameters reframeHead(const calibration::PanTiltSystemParameters& head,
                                                 double tau);

}  // namespace norv::tools
