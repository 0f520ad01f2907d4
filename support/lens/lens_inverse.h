#pragma once

#include <cmath>

#include "support/lens/newton_step.h"
#include "support/lens/radial_branch.h"
#include "support/lens_distortion.h"

namespace norv::internal {

/// The inverse of a lens, prepared for any number of points. Each answer depends on the lens and
/// the point alone.
///
/// The inverse lives on the first branch of the lens: the points p at which r = |p| lies within the
/// first monotone branch of the radial map and for which, on the whole straight way from the image
/// centre to p, the denominator is positive and the Jacobian positive definite. Without tangential
/// terms that is the radial branch itself.
///
/// Not thread-safe: the end of the branch is found on first use and kept.
class LensInverse {
 public:
  using Point = calibration::NormalizedPoint<double>;

  explicit LensInverse(const calibration::LensDistortion<double>& lens)
      : lens_(lens),
        branch_(lens),
        start_(lens),
        tangential_(std::sqrt(lens.p1 * lens.p1 + lens.p2 * lens.p2)) {}

  /// The point of the first branch that the lens puts at `target`; NaN in both coordinates where
  /// there is none, or where anything is not finite.
  ///
  /// Plain Newton steps, two or three for most lenses, and a search that is safe wherever those
  /// leave the branch or do not settle.
  Point undistort(const Point& target) {
    const double bound = NewtonStart::errorBound(target);
    Point p = start_.at(lens_, target);
    for (int i = 0; i < NewtonStart::kQuickSteps; ++i) {
      const Step at(lens_, p, target);
      if (!at.regular()) break;
      if (at.closerThan(bound)) {
        if (surelyInside(at.squaredRadius())) return p;
        break;
      }
      p = at.next(1);
    }
    return search(target);
  }

  /// Whether `p` is a point of the first branch, one that `undistort` gives back for where the lens
  /// puts it. False where anything is not finite.
  bool isOnFirstBranch(const Point& p);

  /// The same for the finite point `p` of a lens with finite coefficients, however large: where
  /// products of the lens' terms overflow, a radial map that never ends still has the point.
  bool contains(const Point& p);

  /// Whether there are no tangential terms.
  bool isRadial() const { return tangential_ == 0; }

  /// Whether the radial map rises for ever, without a pole.
  bool neverEnds() { return std::isinf(branch_.end()); }

  /// Whether all points up to the squared radius `s` lie on the branch, for cheap reasons. The
  /// Jacobian of the tangential part has no eigenvalue beyond 6 hypot(p1, p2) r, that of the radial
  /// part none below the least d(r_d)/dr up to r. A disc on which the sum is positive definite is
  /// mapped one to one, as by the gradient of any strictly convex function.
  bool surelyInside(double s) const {
    return branch_.surelySteeper(s, 6 * tangential_ * std::sqrt(s));
  }

 private:
  using Step = LensNewtonStep<double>;

  /// The answer for any target. The radial map is inverted exactly, by bracketing: that solves a
  /// lens without tangential terms, and is a start for the damped iteration with any other.
  Point search(const Point& target);

  /// Whether no point of the branch is imaged as far out: the tangential terms add at most
  /// 3 hypot(p1, p2) r^2 to the largest value of the radial map, the one at the end of the branch.
  bool beyondReach(double distorted_radius);

  /// The radius of the branch that the radial map takes to `distorted_radius`, which is positive;
  /// the end of the branch where the map does not get there.
  double undistortedRadius(double distorted_radius);

  /// Newton's iteration from `p`, or from where the Jacobian becomes regular on the way from there
  /// to the centre. Steps are halved until the residual decreases and the Jacobian stays regular.
  /// (Nocedal and Wright, Numerical Optimization, 2nd ed., Springer 2006, section 11.2.) The result
  /// need not be a solution.
  Point dampedNewton(Point p, const Point& target) const;

  /// Whether `p` is a point of the first branch that the lens puts at `target`.
  bool isAnswer(const Point& p, const Point& target);

  /// Whether `p`, of which `at` is made, is a point of the first branch.
  bool isOnFirstBranch(const Step& at, const Point& p);

  /// Whether the Jacobian is regular on the straight way from the centre to `p`. Its determinant is
  /// sampled and the minima between samples are estimated by parabolas, so that only a dip far
  /// shorter than a sample's distance can go unseen.
  bool regularUpTo(const Point& p) const;

  calibration::LensDistortion<double> lens_;
  RadialBranch branch_;
  NewtonStart start_;
  double tangential_;  ///< hypot(p1, p2)
};

}  // namespace norv::internal
