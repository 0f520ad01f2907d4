#pragma once

#include <optional>
#include <variant>
#include <vector>

#include "support/numeric/monotone_cubic.h"
#include "support/numeric/value_and_slope.h"

namespace norv::internal {

/// A sampled lens: distances from the image centre in pixels and the field angles there in radians,
/// both strictly increasing from the origin (0, 0), which is the first entry.
struct LensTable {
  std::vector<double> radii;
  std::vector<double> angles;
};

/// The usable leading part of a table of radii in pixels and field angles in degrees.
///
/// It ends with the shorter list, and before the first entry in which a number is not finite, does
/// not exceed the one before, or the angle is above 80 degrees. The origin is put in front where
/// the lists do not start with it.
LensTable usableLensTable(const std::vector<float>& radii, const std::vector<float>& degrees);

/// A nearly stereographic lens: theta = 2 atan(g / 2), with g an odd polynomial of degree 5 in the
/// radius. The stereographic lens itself has g = r / f. Immutable.
class StereographicCurve {
 public:
  /// The least-squares curve through `table`, every entry weighing alike in angle.
  ///
  /// nullopt where the table does not determine it well (fewer than 8 entries beyond the origin, or
  /// all of them crowded far from it), where the curve does not rise all the way (its slope in g
  /// staying above 2 % of that at the centre), or where it misses an entry by more than 0.2 degree.
  static std::optional<StereographicCurve> fit(const LensTable& table);

  /// Field angle in radians and its slope in radians a pixel, from the centre to the last entry.
  ValueAndSlope at(double radius) const;

 private:
  /// With s = r / last_radius: g = s (c1 + c3 s^2 + c5 s^4).
  struct Polynomial {
    double c1;
    double c3;
    double c5;
  };

  StereographicCurve(const Polynomial& g, double last_radius) : g_(g), last_radius_(last_radius) {}

  static std::optional<Polynomial> solve(const LensTable& table);
  static bool rises(const Polynomial& g);
  bool passesNear(const LensTable& table) const;

  Polynomial g_;
  double last_radius_;
};

/// A lens' field angle as a function of the distance from the image centre: increasing,
/// continuously differentiable, and zero at the centre.
///
/// The curve is a `StereographicCurve` where one fits, since rounded tables would otherwise carry
/// their rounding into the image; else the monotone cubic through the entries. Immutable.
class LensCurve {
 public:
  /// From the usable part of a table in pixels and degrees; nullopt when that has fewer than two
  /// entries beyond the origin.
  static std::optional<LensCurve> fromTable(const std::vector<float>& radii,
                                            const std::vector<float>& degrees);

  /// Field angle in radians and its slope in radians a pixel, for a radius in 0..`lastRadius()`.
  ValueAndSlope at(double radius) const;

  /// The radius of the last usable entry.
  double lastRadius() const { return last_radius_; }

 private:
  using Curve = std::variant<StereographicCurve, MonotoneCubic>;

  LensCurve(Curve curve, double last_radius);

  Curve curve_;
  double last_radius_;
};

}  // namespace norv::internal
