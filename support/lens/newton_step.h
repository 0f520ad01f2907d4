#pragma once

#include "support/lens_distortion.h"
#include "support/numeric/select.h"

namespace norv::internal {

/// A lens' map at a point p, made ready for a step of Newton's iteration for distort(p) = target.
/// `Number` is double, or several numbers side by side (support/camera/lanes.h).
///
/// The map is the gradient of a scalar function, so its Jacobian J is symmetric. With u = p1 y,
/// v = p2 x and w = 2 (u + v) its tangential part is w p + s (p2, p1). All is kept multiplied by
/// powers of the denominator D, which leaves one division for a whole step:
///
///     D (distort(p) - target) = (N + D w) p + D (s (p2, p1) - target)
///     D^2 J = D (N + D w) I + 2 (N' D - N D') p p^T + D^2 (4 v, 2 (p1 x + p2 y); ., 4 u)
template <class Number>
class LensNewtonStep {
 public:
  using Point = calibration::NormalizedPoint<Number>;

  LensNewtonStep(const calibration::LensDistortion<double>& lens, const Point& p,
                 const Point& target)
      : p_(p) {
    const Number xx = p.x * p.x;
    const Number yy = p.y * p.y;
    s_ = xx + yy;
    // `lens.radial(s)`, but not by Horner's rule: its chain of dependent operations would decide
    // the time.
    const Number ss = s_ * s_;
    const Number n = (1 + s_ * lens.k1) + ss * (lens.k2 + s_ * lens.k3);
    const Number d = (1 + s_ * lens.k4) + ss * (lens.k5 + s_ * lens.k6);
    const Number n1 = (lens.k1 + s_ * (2 * lens.k2)) + ss * (3 * lens.k3);
    const Number d1 = (lens.k4 + s_ * (2 * lens.k5)) + ss * (3 * lens.k6);
    const Number u = lens.p1 * p.y;
    const Number v = lens.p2 * p.x;

    const Number m = n + d * (2 * (u + v));
    denominator_ = d;
    residual_ = {m * p.x + d * (s_ * lens.p2 - target.x), m * p.y + d * (s_ * lens.p1 - target.y)};

    const Number dd = d * d;
    const Number isotropic = d * m;
    const Number radial = 2 * (n1 * d - n * d1);
    jxx_ = isotropic + xx * radial + dd * (4 * v);
    jyy_ = isotropic + yy * radial + dd * (4 * u);
    jxy_ = p.x * p.y * radial + dd * (2 * (lens.p1 * p.x + lens.p2 * p.y));
    determinant_ = jxx_ * jyy_ - jxy_ * jxy_;
  }

  const Point& point() const { return p_; }
  const Number& squaredRadius() const { return s_; }

  /// Whether denominator is positive and Jacobian positive definite, as at the image centre.
  auto regular() const { return both(both(determinant_ > 0, jxx_ > 0), denominator_ > 0); }

  /// Determinant of J.
  Number determinant() const {
    const Number dd = denominator_ * denominator_;
    return determinant_ / (dd * dd);
  }

  /// Whether the squared distance of distort(p) from the target is below `bound`.
  auto closerThan(const Number& bound) const {
    return residualSquared() < bound * (denominator_ * denominator_);
  }

  /// Squared distance of distort(p) from the target.
  Number error() const { return residualSquared() / (denominator_ * denominator_); }

  /// The point that is the fraction `t` of the Newton step away from p.
  Point next(double t) const {
    const Number scale = t * (denominator_ / determinant_);
    return {p_.x + (jxy_ * residual_.y - jyy_ * residual_.x) * scale,
            p_.y + (jxy_ * residual_.x - jxx_ * residual_.y) * scale};
  }

 private:
  Number residualSquared() const { return residual_.x * residual_.x + residual_.y * residual_.y; }

  Point p_;
  Number s_;
  Number denominator_;  ///< D
  Point residual_;      ///< D (distort(p) - target)
  Number jxx_;          ///< elements and determinant of D^2 J
  Number jxy_;
  Number jyy_;
  Number determinant_;
};

/// Where Newton's iteration starts, and how close it has to come.
class NewtonStart {
 public:
  /// Residual, in normalised image coordinates, below which a point counts as a solution; relative
  /// to the distance of the target from the centre where that exceeds 1.
  static constexpr double kTolerance = 1e-12;
  /// Steps before it is given up: enough for the halving of the error with each step close to a
  /// fold.
  static constexpr int kQuickSteps = 12;

  explicit NewtonStart(const calibration::LensDistortion<double>& lens)
      : series1_(lens.k1 - lens.k4),
        series2_(lens.k2 - lens.k5 - lens.k4 * series1_ - 2 * series1_ * series1_) {}

  /// Squared residual below which a point counts as a solution.
  template <class Number>
  static Number errorBound(const calibration::NormalizedPoint<Number>& target) {
    const Number squared = target.x * target.x + target.y * target.y;
    return kTolerance * kTolerance * select(squared > 1, squared, Number(1));
  }

  /// The radial map inverted by the first terms of the power series of r_d / r in r_d^2, then
  /// corrected for the tangential terms there. Dividing by this series suits wide lenses much
  /// better than multiplying with that of r / r_d: for a stereographic one its first term is exact.
  template <class Number>
  calibration::NormalizedPoint<Number> at(
      const calibration::LensDistortion<double>& lens,
      const calibration::NormalizedPoint<Number>& target) const {
    const Number q = target.x * target.x + target.y * target.y;
    const Number ratio = 1 + q * (series1_ + q * series2_);
    const Number scale = 1 / select(ratio > 0.1, ratio, Number(0.1));
    const calibration::NormalizedPoint<Number> p{target.x * scale, target.y * scale};
    const Number s = p.x * p.x + p.y * p.y;
    const Number w = 2 * (lens.p1 * p.y + lens.p2 * p.x);
    return {(target.x - w * p.x - s * lens.p2) * scale, (target.y - w * p.y - s * lens.p1) * scale};
  }

 private:
  double series1_;  ///< coefficients of r_d / r as a power series in r_d^2, after the leading 1
  double series2_;
};

}  // namespace norv::internal
