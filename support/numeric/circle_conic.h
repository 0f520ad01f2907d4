#pragma once

/// The points that a conic has in common with the unit circle, as four candidates for a refinement.

#include <array>
#include <cstddef>

namespace norv::internal {

/// xx x^2 + xy x y + yy y^2 + x x + y y + one = 0.
struct Conic {
  double xx;
  double xy;
  double yy;
  double x;
  double y;
  double one;
};

struct CirclePoint {
  double x;
  double y;
  /// Whether the line that gave this point passes the circle, of which it is then the nearest one.
  bool is_beside;
};

struct CirclePoints {
  std::size_t count = 0;
  std::array<CirclePoint, 4> points;
};

/// Candidates for all points in which the conic meets the unit circle: every such point is among
/// them, to within the square root of the rounding where points are close to one another, and
/// there may be others.
///
/// Of the conics conic - sigma circle, which all have these points in common, one whose sigma lies
/// between the eigenvalues of the quadratic part is a pair of real lines. It always exists, and its
/// lines are cut with the circle. (Pencil of conics: Richter-Gebert, Perspectives on Projective
/// Geometry, Springer 2011, section 11.4.) Nothing for a conic that is not
/// finite; squares of the coefficients have to be within the range of double.
CirclePoints meetUnitCircle(const Conic& conic);

}  // namespace norv::internal
