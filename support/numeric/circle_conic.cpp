#include "support/numeric/circle_conic.h"

#include <algorithm>
#include <cmath>

#include "support/numeric/bracketed_newton.h"

namespace norv::internal {
namespace {

/// Of numbers that are neither very large nor very small, faster than std::hypot.
double length(double x, double y) { return std::sqrt(x * x + y * y); }

/// The conic along the axes of its quadratic part, over the difference of its eigenvalues:
///     (t + 1) x^2 + t y^2 + 2 gamma x + 2 delta y + one, with t the smaller eigenvalue.
struct AxisConic {
  double cosine;  ///< of the larger eigenvalue's axis
  double sine;
  double gamma;
  double delta;
  double constant;  ///< one + t: what is left once t times the circle is taken away
};

/// Difference of the quadratic part's eigenvalues: 0 for a multiple of the circle's.
double eccentricity(const Conic& conic) { return length(conic.xx - conic.yy, conic.xy); }

/// Axes by the half of the angle whose cosine and sine are xx - yy and xy over their length.
AxisConic toAxes(const Conic& conic) {
  const double difference = eccentricity(conic);
  const double cosine = (conic.xx - conic.yy) / difference;
  const double sine = conic.xy / difference;
  AxisConic axes;
  if (cosine >= 0) {
    axes.cosine = std::sqrt(0.5 * (1 + cosine));
    axes.sine = 0.5 * sine / axes.cosine;
  } else {
    axes.sine = std::copysign(std::sqrt(0.5 * (1 - cosine)), sine);
    axes.cosine = 0.5 * sine / axes.sine;
  }
  const double half = 0.5 / difference;
  axes.gamma = half * (axes.cosine * conic.x + axes.sine * conic.y);
  axes.delta = half * (axes.cosine * conic.y - axes.sine * conic.x);
  const double smaller = 0.5 * ((conic.xx + conic.yy) - difference);
  axes.constant = (conic.one + smaller) / difference;
  return axes;
}

/// The tau = sigma - t between 0 and 1 at which the conic less sigma times the circle falls into
/// two real lines: a zero of its determinant, which is not positive at 0 nor negative at 1.
double findLinePair(const AxisConic& axes) {
  const double gamma2 = axes.gamma * axes.gamma;
  const double delta2 = axes.delta * axes.delta;
  const double k = axes.constant;
  const double linear = gamma2 + delta2 - k;
  // At an end that is a zero itself the lines are parallel, and real or not; where they are not,
  // there is another zero, of the determinant divided by tau or by tau - 1.
  if (!(delta2 > 0)) {
    if (gamma2 >= k) return 0;
    const double root = std::sqrt((k - 1) * (k - 1) + 4 * (k - gamma2));
    return k > 1 ? 2 * (k - gamma2) / (k - 1 + root) : 0.5 * (1 - k + root);
  }
  if (!(gamma2 > 0)) {
    if (1 + k + delta2 >= 0) return 1;
    return 2 * delta2 / (std::sqrt(k * k - 4 * delta2) - k);
  }
  const auto determinant = [=](double tau) {
    return ValueAndSlope{((tau + (k - 1)) * tau + linear) * tau - delta2,
                         (3 * tau + 2 * (k - 1)) * tau + linear};
  };
  // The end with the larger value is farther from the other zeros, which are close where the conic
  // is nearly a double line.
  return bracketedNewton(determinant, 0, 1, delta2 < gamma2 ? 1 : 0);
}

/// Cuts the line a x + b y + k = 0, in axes, with the circle.
void cut(const AxisConic& axes, double a, double b, double k, CirclePoints* points) {
  const double scale = 1 / length(a, b);
  const double distance = -k * scale;
  if (!std::isfinite(distance)) return;
  const bool is_beside = std::abs(distance) > 1;
  const double along = is_beside ? std::copysign(1.0, distance) : distance;
  const double across = std::sqrt((1 - along) * (1 + along));
  const double nx = scale * (axes.cosine * a - axes.sine * b);
  const double ny = scale * (axes.sine * a + axes.cosine * b);
  points->points[points->count++] = {along * nx - across * ny, along * ny + across * nx, is_beside};
  if (is_beside) return;
  points->points[points->count++] = {along * nx + across * ny, along * ny - across * nx, false};
}

/// Whether the quadratic part is a multiple of the circle's, but for rounding of the rest.
bool isLine(const Conic& conic) {
  return std::abs(conic.xx - conic.yy) + std::abs(conic.xy) <=
         1e-16 * (std::abs(conic.x) + std::abs(conic.y));
}

/// The points of the line that is then left without the multiple of the circle.
CirclePoints meetLine(const Conic& conic) {
  CirclePoints points;
  const AxisConic axes = {1, 0, 0, 0, 0};
  const double constant = conic.one + 0.5 * (conic.xx + conic.yy);
  if (std::isfinite(conic.x + conic.y + constant)) cut(axes, conic.x, conic.y, constant, &points);
  return points;
}

}  // namespace

CirclePoints meetUnitCircle(const Conic& conic) {
  if (isLine(conic)) return meetLine(conic);
  CirclePoints points;
  const AxisConic axes = toAxes(conic);
  if (!std::isfinite(axes.constant + axes.gamma + axes.delta)) return points;
  const double tau = findLinePair(axes);
  // (u x + v y + h - g) (u x - v y + h + g) with u h = gamma, v g = delta and
  // h^2 - g^2 = constant + tau: the smaller of u and v does not divide.
  const double u = std::sqrt(std::max(0.0, 1 - tau));
  const double v = std::sqrt(tau);
  const double rest = axes.constant + tau;
  double h;
  double g;
  if (v > u) {
    g = axes.delta / v;
    h = std::copysign(std::sqrt(std::max(0.0, g * g + rest)), axes.gamma);
  } else {
    h = axes.gamma / u;
    g = std::copysign(std::sqrt(std::max(0.0, h * h - rest)), axes.delta);
  }
  // One of the two is far away where the quadratic part is nearly a circle. Their product is known
  // better than the smaller one's difference.
  const double far = h * g > 0 ? h + g : h - g;
  const double near = far != 0 ? rest / far : 0;
  cut(axes, u, h * g > 0 ? v : -v, near, &points);
  cut(axes, u, h * g > 0 ? -v : v, far, &points);
  return points;
}

}  // namespace norv::internal
