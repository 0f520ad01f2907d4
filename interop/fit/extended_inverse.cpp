#include "interop/fit/extended_inverse.h"

#include <Eigen/LU>
#include <algorithm>
#include <cmath>

#include "interop/fit/sensor_tilt.h"
#include "support/auto_diff.h"
#include "support/lens_validity.h"
#include "support/point_projection.h"

namespace norv::interop {
namespace {

using calibration::NormalizedPoint;
using Dual = autodiff::AutoDiff1<double, 2>;

constexpr int kMaxSteps = 50;
constexpr double kTolerance = 1e-13;

/// Less than this, as the determinant of a tilt, is a sensor that is seen edge-on.
constexpr double kMinDeterminant = 1e-9;

calibration::LensDistortion<double> radialPart(calibration::LensDistortion<double> lens) {
  lens.p1 = 0;
  lens.p2 = 0;
  return lens;
}

/// How the upright lens misses its target at a point, and the derivative of that.
struct Miss {
  Eigen::Vector2d value;
  Eigen::Matrix2d jacobian;

  /// Whether the lens keeps the picture's orientation there, as at its centre.
  bool isRegular() const { return jacobian.determinant() > 0 && jacobian.trace() > 0; }
};

Miss missAt(const ExtendedLens& lens, const Eigen::Vector2d& p, const Eigen::Vector2d& target) {
  const Dual x = Dual::variable(p.x(), 0);
  const Dual y = Dual::variable(p.y(), 1);
  const Dual s = x * x + y * y;
  NormalizedPoint<Dual> q = lens.rational.distort(NormalizedPoint<Dual>{x, y});
  q.x += s * (lens.s1 + s * lens.s2);
  q.y += s * (lens.s3 + s * lens.s4);
  Miss miss;
  miss.value = Eigen::Vector2d(q.x.value, q.y.value) - target;
  miss.jacobian << q.x.derivatives[0], q.x.derivatives[1], q.y.derivatives[0], q.y.derivatives[1];
  return miss;
}

/// Where the rational part alone has the target, or else the target.
Eigen::Vector2d startOf(const ExtendedLens& lens, const Eigen::Vector2d& target) {
  const calibration::CameraModel camera{1, 1, 1, 1, 0, 0, 0, lens.rational};
  Eigen::Vector2d ray;
  return hasAnswer(rectifyPixel(camera, target, &ray)) ? ray : target;
}

/// Newton's iteration, its steps halved until they come closer.
Eigen::Vector2d solved(const ExtendedLens& lens, const Eigen::Vector2d& target, double tolerance) {
  Eigen::Vector2d p = startOf(lens, target);
  Miss miss = missAt(lens, p, target);
  double t = 1;
  for (int i = 0; i < kMaxSteps && miss.value.norm() > tolerance; ++i) {
    const Eigen::Vector2d next = p - t * (miss.jacobian.inverse() * miss.value);
    const Miss at_next = missAt(lens, next, target);
    if (at_next.value.norm() < miss.value.norm()) {
      p = next;
      miss = at_next;
      t = std::min(1.0, 2 * t);
    } else {
      t /= 2;
    }
  }
  return p;
}

}  // namespace

ExtendedInverse::ExtendedInverse(const ExtendedLens& lens)
    : upright_(lens),
      tilt_(sensorTilt(lens.tau_x, lens.tau_y)),
      from_tilted_(tilt_.inverse()),
      largest_radius_(calibration::validRadius(radialPart(lens.rational))) {
  upright_.tau_x = 0;
  upright_.tau_y = 0;
}

std::optional<ExtendedInverse::Point> ExtendedInverse::untilted(const Point& target) const {
  if (!(std::abs(tilt_.determinant()) > kMinDeterminant)) return std::nullopt;
  const Eigen::Vector3d q = from_tilted_ * Eigen::Vector3d(target.x, target.y, 1);
  if (!(q.z() > 0)) return std::nullopt;
  return Point{q.x() / q.z(), q.y() / q.z()};
}

std::optional<ExtendedInverse::Point> ExtendedInverse::undistort(const Point& target) const {
  const std::optional<Point> upright = untilted(target);
  if (!upright) return std::nullopt;
  const Eigen::Vector2d wanted(upright->x, upright->y);
  const double tolerance = kTolerance * std::max(1.0, wanted.norm());
  const Eigen::Vector2d p = solved(upright_, wanted, tolerance);
  const Miss miss = missAt(upright_, p, wanted);
  const bool is_found = miss.value.norm() <= tolerance && miss.isRegular();
  if (!is_found || !(p.norm() < largest_radius_)) return std::nullopt;
  return Point{p.x(), p.y()};
}

}  // namespace norv::interop
