#pragma once

/// Lenses that map the angle of a ray from the optical axis to a distance from the principal point.

#include <array>

#include "support/lens_distortion.h"

namespace norv::interop {

/// How r_d, in units of the focal length, depends on the angle theta from the optical axis:
///
/// - kKannalaBrandt  theta (1 + a0 theta^2 + a1 theta^4 + a2 theta^6 + a3 theta^8): OpenCV's
///   fisheye, Kalibr's and ROS' equidistant, basalt's kb4 (Kannala, Brandt: A generic camera model
///   and calibration method for conventional, wide-angle, and fish-eye lenses, PAMI 28, 2006)
/// - kEnhancedUnified  sin / (a0 sqrt(a1 sin^2 + cos^2) + (1 - a0) cos), a0 alpha from 0 to 1, a1
///   beta above 0 (Khomutenko, Garcia, Martinet: An enhanced unified camera model, RA-L 1, 2016);
///   beta = 1 is the unified model with alpha
/// - kDoubleSphere  sin / (a1 sqrt(sin^2 + (a0 + cos)^2) + (1 - a1) (a0 + cos)), a0 xi above -1, a1
///   alpha from 0 to 1 (Usenko, Demmel, Cremers: The double sphere camera model, 3DV 2018)
/// - kOmni  sin / (cos + a0), a0 xi above -1 (Mei, Rives: Single view point omnidirectional camera
///   calibration from planar grids, ICRA 2007)
/// - kFieldOfView  atan(2 tan(theta) tan(a0 / 2)) / a0, a0 the field of view, radians, less than
///   pi, 0 for tan(theta); up to 90 degrees (Devernay, Faugeras: Straight lines have to be
///   straight, MVA 13, 2001)
/// - kStereographic  2 tan(theta / 2)
enum class RadialKind {
  kKannalaBrandt,
  kEnhancedUnified,
  kDoubleSphere,
  kOmni,
  kFieldOfView,
  kStereographic
};

/// Such a lens. A plain value, without unit.
struct RadialMap {
  RadialKind kind = RadialKind::kKannalaBrandt;
  std::array<double, 4> parameters{};
  /// What is applied to the point that the map gives: Kalibr's omni cameras have Brown's terms
  /// there.
  calibration::LensDistortion<double> then;
};

/// What a user calls the kind: "equidistant", "eucm", "ds", "omni", "fov", "stereographic".
const char* kindName(RadialKind kind);

/// r_d at `theta`, from 0 to pi, without what `then` does; not finite where the model has none: at
/// a pole and beyond it, and everywhere with parameters outside of their range. Beyond a fold it is
/// what the formula gives. Thread-safe.
double radiusAt(const RadialMap& map, double theta);

/// d(r_d)/d(theta) at the axis. The map's focal length times this is that of a pinhole camera with
/// the same picture there. 1 / (1 + xi) of the double sphere and omni models, 2 tan(w / 2) / w of
/// the field of view, 1 of the others.
double slopeOnAxis(const RadialMap& map);

/// The largest theta, at most pi, up to which r_d rises and is finite: that of a fold, or of a
/// pole, at which it is not finite any more. 0 with parameters outside of their range. Thread-safe.
double largestAngle(const RadialMap& map);

}  // namespace norv::interop
