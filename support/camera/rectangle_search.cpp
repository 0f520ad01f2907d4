#include "support/camera/rectangle_search.h"

#include <algorithm>
#include <cmath>
#include <queue>

namespace norv::internal {
namespace {

using Eigen::Vector2d;

/// Centres within `radius` half widths and half heights of one.
struct Cell {
  Vector2d centre;
  double radius;
  double bound;  ///< no rectangle with a centre in the cell has a larger scale

  friend bool operator<(const Cell& a, const Cell& b) { return a.bound < b.bound; }
};

}  // namespace

// Branch and bound: a rectangle that is moved by a share of its half width and height grows by that
// share at most. (Horst and Tuy, Global Optimization, 3rd ed., Springer 1996, chapter XI.)
Placement largestAnywhere(const ClearPlane& plane, const PlaneBox& box,
                          const std::function<bool(const Vector2d&)>& isInside,
                          const WantedRectangle& wanted, const Placement& best, double tolerance) {
  const Vector2d& half = wanted.half;
  constexpr int kMaxCells = 12000;
  Placement found = best;
  std::priority_queue<Cell> cells;
  const auto add = [&](const Vector2d& centre, double radius) {
    const double scale = plane.clearScale(centre, {half, half});
    // From outside it is as far to the region as to the curves around it.
    const bool is_inside = isInside(centre);
    const double least = wanted.leastScale(centre);
    if (is_inside && scale >= least && scale > found.scale * (1 + tolerance)) {
      found = {centre, scale};
    }
    const double bound = (is_inside ? scale : -std::max(scale, 0.0)) + radius;
    const bool may_show = bound >= least - radius;
    if (may_show && bound > found.scale * (1 + tolerance)) cells.push({centre, radius, bound});
  };
  add(0.5 * (box.low + box.high), (0.5 * (box.high - box.low)).cwiseQuotient(half).maxCoeff());
  for (int i = 0; i < kMaxCells && !cells.empty(); i += 4) {
    const Cell cell = cells.top();
    cells.pop();
    if (!(cell.bound > found.scale * (1 + tolerance))) break;
    const double radius = 0.5 * cell.radius;
    for (const double x : {-radius, radius}) {
      for (const double y : {-radius, radius}) {
        add(cell.centre + Vector2d(x, y).cwiseProduct(half), radius);
      }
    }
  }
  return found;
}

}  // namespace norv::internal
