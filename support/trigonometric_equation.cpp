#include "support/trigonometric_equation.h"

#include <algorithm>
#include <cmath>

#include "support/numeric/angles.h"

namespace norv {
namespace {

using internal::kPi;

/// An angle of [-2 pi, 2 pi], in (-pi, pi].
double wrap(double angle) {
  if (angle > kPi) return angle - 2 * kPi;
  if (angle <= -kPi) return angle + 2 * kPi;
  return angle;
}

}  // namespace

int solveAsinBcosCeqn(double a, double b, double c, double* solutions, double eps) {
  if (!std::isfinite(a) || !std::isfinite(b) || !std::isfinite(c)) return 0;
  const double r = std::hypot(a, b);
  if (!std::isfinite(r)) return 0;  // beyond the range of double
  if (r <= eps) {
    if (std::abs(c) > eps) return 0;
    solutions[0] = 0;
    return 1;
  }
  const double cosine = -c / r;
  if (!(std::abs(cosine) <= 1 + eps)) return 0;
  const double x0 = std::atan2(a, b);
  const double w = std::acos(std::clamp(cosine, -1.0, 1.0));
  solutions[0] = wrap(x0 - w);
  solutions[1] = wrap(x0 + w);
  // The two lie 2 w apart one way round and 2 pi - 2 w the other.
  return std::min(2 * w, 2 * kPi - 2 * w) <= eps ? 1 : 2;
}

}  // namespace norv
