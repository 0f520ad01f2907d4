#pragma once

#include <Eigen/Core>
#include <vector>

namespace norv::internal {

using PlaneCurve = std::vector<Eigen::Vector2d>;

/// How far a rectangle reaches from its anchor at scale 1. All positive.
struct Reach {
  Eigen::Vector2d below;  ///< to the left and up
  Eigen::Vector2d above;  ///< to the right and down
};

/// A range of one coordinate.
struct Range {
  double low;
  double high;

  double middle() const { return low + 0.5 * (high - low); }
};

/// Smooth curves in a plane that rectangles are to keep clear of: none of their points may lie in a
/// rectangle's interior. Each is known by samples, and between them to lie no farther from the
/// chord than the samples' second differences say.
///
/// A rectangle that is clear of the border of a region and has a point in it lies in the region.
class ClearPlane {
 public:
  /// Adds a curve; one with a corner is added as several. Where points are not finite it is
  /// interrupted.
  void add(const PlaneCurve& curve);

  /// Largest scale at which the rectangle about `anchor` is clear; infinity where all are.
  double clearScale(const Eigen::Vector2d& anchor, const Reach& reach) const;

  /// Range of coordinate `axis` around `at` that is clear where the other one lies in `strip`.
  Range clearRange(int axis, double at, const Range& strip) const;

 private:
  struct Chord {
    Eigen::Vector2d begin;
    Eigen::Vector2d end;
    double sagitta;  ///< bound of the curve's distance from it
  };
  std::vector<Chord> chords_;
};

/// A rectangle by its centre and what its half width and height are multiplied with.
struct Placement {
  Eigen::Vector2d centre;
  double scale;
};

/// What rectangle is looked for: its half width and height at scale 1, and a point that it has to
/// show.
struct WantedRectangle {
  Eigen::Vector2d half;
  Eigen::Vector2d shown;

  /// The least scale at which a rectangle about `centre` shows the point.
  double leastScale(const Eigen::Vector2d& centre) const {
    return (centre - shown).cwiseQuotient(half).lpNorm<Eigen::Infinity>();
  }
};

/// The clear rectangle that grows from one about `start` by being moved to where it can be larger,
/// until no move lets it grow further; where it can be shifted it is centred. `coarse` is the same
/// plane with fewer samples, for the search.
///
/// `start` is the point to be shown or the centre of a clear rectangle that shows it; so the result
/// lies in the region of which that is a point.
Placement largestClear(const ClearPlane& plane, const ClearPlane& coarse,
                       const WantedRectangle& wanted, const Eigen::Vector2d& start);

/// The rectangle of that placement widened along x, then along y, until it touches curves.
struct PlaneBox {
  Eigen::Vector2d low;
  Eigen::Vector2d high;
};
PlaneBox widened(const ClearPlane& plane, const Placement& placement, const Eigen::Vector2d& half);

}  // namespace norv::internal
