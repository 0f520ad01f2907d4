#pragma once

#include <cmath>

#include "support/lens/radial_branch.h"
#include "support/lens_distortion.h"

namespace norv::internal {

/// A lens' map at a point p, made ready for a step of Newton's iteration for distort(p) = target.
///
/// The map is the gradient of a scalar function, so its Jacobian J is symmetric. With u = p1 y,
/// v = p2 x and w = 2 (u + v) its tangential part is w p + s (p2, p1). All is kept multiplied by
/// powers of the denominator D, which leaves one division for a whole step:
///
///     D (distort(p) - target) = (N + D w) p + D (s (p2, p1) - target)
///     D^2 J = D (N + D w) I + 2 (N' D - N D') p p^T + D^2 (4 v, 2 (p1 x + p2 y); ., 4 u)
class LensNewtonStep {
 public:
  using Point = calibration::NormalizedPoint<double>;

  LensNewtonStep(const calibration::LensDistortion<double>& lens, const Point& p,
                 const Point& target);

  double squaredRadius() const { return s_; }

  /// Whether denominator is positive and Jacobian positive definite, as at the image centre.
  bool regular() const { return determinant_ > 0 && jxx_ > 0 && denominator_ > 0; }

  /// Determinant of J.
  double determinant() const {
    const double dd = denominator_ * denominator_;
    return determinant_ / (dd * dd);
  }

  /// Whether the squared distance of distort(p) from the target is below `bound`.
  bool closerThan(double bound) const {
    return residualSquared() < bound * (denominator_ * denominator_);
  }

  /// Squared distance of distort(p) from the target.
  double error() const { return residualSquared() / (denominator_ * denominator_); }

  /// The point that is the fraction `t` of the Newton step away from p.
  Point next(double t) const {
    const double scale = t * (denominator_ / determinant_);
    return {p_.x + (jxy_ * residual_.y - jyy_ * residual_.x) * scale,
            p_.y + (jxy_ * residual_.x - jxx_ * residual_.y) * scale};
  }

 private:
  double residualSquared() const { return residual_.x * residual_.x + residual_.y * residual_.y; }

  Point p_;
  double s_;
  double denominator_;  ///< D
  Point residual_;      ///< D (distort(p) - target)
  double jxx_;          ///< elements and determinant of D^2 J
  double jxy_;
  double jyy_;
  double determinant_;
};

inline LensNewtonStep::LensNewtonStep(const calibration::LensDistortion<double>& lens,
                                      const Point& p, const Point& target)
    : p_(p) {
  const double xx = p.x * p.x;
  const double yy = p.y * p.y;
  s_ = xx + yy;
  // `lens.radial(s)`, but not by Horner's rule: its chain of dependent operations would decide the
  // time.
  const double ss = s_ * s_;
  const double n = (1 + s_ * lens.k1) + ss * (lens.k2 + s_ * lens.k3);
  const double d = (1 + s_ * lens.k4) + ss * (lens.k5 + s_ * lens.k6);
  const double n1 = (lens.k1 + s_ * (2 * lens.k2)) + ss * (3 * lens.k3);
  const double d1 = (lens.k4 + s_ * (2 * lens.k5)) + ss * (3 * lens.k6);
  const double u = lens.p1 * p.y;
  const double v = lens.p2 * p.x;

  const double m = n + d * (2 * (u + v));
  denominator_ = d;
  residual_ = {m * p.x + d * (s_ * lens.p2 - target.x), m * p.y + d * (s_ * lens.p1 - target.y)};

  const double dd = d * d;
  const double isotropic = d * m;
  const double radial = 2 * (n1 * d - n * d1);
  jxx_ = isotropic + xx * radial + dd * (4 * v);
  jyy_ = isotropic + yy * radial + dd * (4 * u);
  jxy_ = p.x * p.y * radial + dd * (2 * (lens.p1 * p.x + lens.p2 * p.y));
  determinant_ = jxx_ * jyy_ - jxy_ * jxy_;
}

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

  /// Residual, in normalised image coordinates, below which a point counts as a solution; relative
  /// to the distance of the target from the centre where that exceeds 1.
  static constexpr double kTolerance = 1e-12;

  explicit LensInverse(const calibration::LensDistortion<double>& lens)
      : lens_(lens),
        branch_(lens),
        series1_(lens.k1 - lens.k4),
        series2_(lens.k2 - lens.k5 - lens.k4 * series1_ - 2 * series1_ * series1_),
        tangential_(std::sqrt(lens.p1 * lens.p1 + lens.p2 * lens.p2)) {}

  /// The point of the first branch that the lens puts at `target`; NaN in both coordinates where
  /// there is none, or where anything is not finite.
  ///
  /// Plain Newton steps, two or three for most lenses, and a search that is safe wherever those
  /// leave the branch or do not settle.
  Point undistort(const Point& target) {
    const double bound = errorBound(target);
    Point p = seriesStart(target);
    for (int i = 0; i < kQuickSteps; ++i) {
      const LensNewtonStep at(lens_, p, target);
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

 private:
  // Enough for the halving of the error with each step close to a fold.
  static constexpr int kQuickSteps = 12;

  static double errorBound(const Point& target) {
    const double squared = target.x * target.x + target.y * target.y;
    return kTolerance * kTolerance * (squared > 1 ? squared : 1);
  }

  /// Start of the iteration: the radial map inverted by the first terms of the power series of
  /// r_d / r in r_d^2, then corrected for the tangential terms there. Dividing by this series suits
  /// wide lenses much better than multiplying with that of r / r_d: for a stereographic one its
  /// first term is exact.
  Point seriesStart(const Point& target) const {
    const double q = target.x * target.x + target.y * target.y;
    const double ratio = 1 + q * (series1_ + q * series2_);
    const double scale = 1 / (ratio > 0.1 ? ratio : 0.1);
    const Point p{target.x * scale, target.y * scale};
    const double s = p.x * p.x + p.y * p.y;
    const double w = 2 * (lens_.p1 * p.y + lens_.p2 * p.x);
    return {(target.x - w * p.x - s * lens_.p2) * scale,
            (target.y - w * p.y - s * lens_.p1) * scale};
  }

  /// Whether all points up to the squared radius `s` lie on the branch, for cheap reasons. The
  /// Jacobian of the tangential part has no eigenvalue beyond 6 hypot(p1, p2) r, that of the radial
  /// part none below the least d(r_d)/dr up to r. A disc on which the sum is positive definite is
  /// mapped one to one, as by the gradient of any strictly convex function.
  bool surelyInside(double s) const {
    return branch_.surelySteeper(s, 6 * tangential_ * std::sqrt(s));
  }

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
  bool isOnFirstBranch(const LensNewtonStep& at, const Point& p);

  /// Whether the Jacobian is regular on the straight way from the centre to `p`. Its determinant is
  /// sampled and the minima between samples are estimated by parabolas, so that only a dip far
  /// shorter than a sample's distance can go unseen.
  bool regularUpTo(const Point& p) const;

  calibration::LensDistortion<double> lens_;
  RadialBranch branch_;
  double series1_;  ///< coefficients of r_d / r as a power series in r_d^2, after the leading 1
  double series2_;
  double tangential_;  ///< hypot(p1, p2)
};

}  // namespace norv::internal
