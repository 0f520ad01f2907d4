#pragma once

/// How a pan-tilt head suits the pointing computation, and the same head written so that it does.
/// Frames and the reasons: docs/pan_tilt_heads.md; units: docs/conventions.md. Values that a pose
/// lacks of its 12 count as NaN. Thread-safe.

#include <optional>

#include "../support/export.h"
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

/// Measures a head. Poses that are not finite, or no rotations, give numbers that mean nothing.
NORV_EXPORT HeadGeometry describeHead(const PanTiltSystemParameters& head);

/// Whether the azimuth is 0 or 180 degrees, as the closed form needs it. False for NaN, as are the
/// three that follow.
NORV_EXPORT bool azimuthIsSupported(const HeadGeometry& geometry);

/// Whether the elevation is between 0 and 30 degrees, with which targets are found from 52 degrees
/// below the plane of pan up to the zenith, if not farther.
NORV_EXPORT bool elevationIsSupported(const HeadGeometry& geometry);

/// Whether the tilt axis is level and square to the optical axis, as the closed form takes it.
NORV_EXPORT bool tiltAxisIsSupported(const HeadGeometry& geometry);

/// Whether the optical axis passes the pan axis closely enough for targets on that.
NORV_EXPORT bool reachesThePanAxis(const HeadGeometry& geometry);

/// Elevations above the plane of pan, radians.
struct ElevationRange {
  double lowest;
  double highest;
};

/// Where the targets are that a head of supported azimuth finds, as long as its lever arms are
/// short beside their distance. The closed form turns the tilt by at most a quarter turn either way
/// in the frame of the combined axes, where levels count by the cosine of the optical axis'
/// elevation b: an axis above the plane finds targets down to -atan(cos(b)^3 / sin(b)), one below
/// it up to atan(cos(b)^3 / -sin(b)).
NORV_EXPORT ElevationRange findableElevations(const HeadGeometry& geometry);

/// Directions that the optical axis never has, whatever the motors do: two cones about the pan
/// axis.
struct BlindCones {
  double upper;  ///< half angle about the direction of the pan frame's z, radians; 0 for none
  double lower;  ///< about the opposite direction
};

/// The blind cones of a head. With the angles a between the axes of pan and tilt and b between the
/// tilt axis and the optical axis, the latter comes to all angles from the pan axis between |a - b|
/// and a + b, counted on beyond half a turn: upper = |a - b|, lower = |pi - a - b|. Where the tilt
/// axis is square to both others there is none. For far targets; lever arms shift what is blind by
/// as much as they are long. Limits of the motors play no part: those are `coverage`'s.
NORV_EXPORT BlindCones blindCones(const PanTiltSystemParameters& head);

/// Whether both motors move: their scales are finite and not zero.
NORV_EXPORT bool motorsTurn(const PanTiltSystemParameters& head);

/// The turn of the tilt frame about its axis, radians, the smaller of the two, that makes the
/// optical axis at zero tilt level; NaN where none does.
NORV_EXPORT double levellingTurn(const PanTiltSystemParameters& head);

/// The same head with the tilt angle's zero moved by `tau` radians and the pan frame turned so that
/// the azimuth is 0. Motor positions mean what they meant; limits and what else the message holds
/// stay. With tau = 0 the zero of tilt stays, too; with another one the tilt scale must not be 0,
/// or the offset of tilt is not finite.
NORV_EXPORT PanTiltSystemParameters reframeHead(const PanTiltSystemParameters& head, double tau);

/// A head in another frame, and by how much, radians, its zero of tilt was moved.
struct ReframedHead {
  PanTiltSystemParameters head;
  double turn_of_zero;
};

/// The same head in a frame of supported azimuth and, where motors and poses allow it, elevation;
/// nullopt for one that is in such a frame already, that has none, or whose poses are no rotations.
NORV_EXPORT std::optional<ReframedHead> findBetterFrame(const PanTiltSystemParameters& head);

}  // namespace norv::calibration
