#include "support/fit/projector.h"

#include <Eigen/Geometry>

#include "support/auto_diff.h"

namespace norv::internal::fit {
namespace {

constexpr double kMinDepth = 1e-6;
constexpr double kMinPolynomial = 1e-3;

using Dual2 = autodiff::AutoDiff1<double, 2>;

/// The point in the camera's axes, about the target's origin.
Eigen::Vector3d rotated(const FittedCamera& camera, const PointPair& point) {
  return camera.rotation.col(0) * point.plane_x + camera.rotation.col(1) * point.plane_y;
}

/// Derivatives by k1..k6 of both coordinates at the normalised point `n`. The lens multiplies it by
/// g = N / D, and dg/dk is s^j / D for the numerator and -g s^j / D for the denominator.
void setRadialColumns(const calibration::LensDistortion<double>& lens,
                      const calibration::NormalizedPoint<double>& n, double fx, double fy,
                      ParameterVector* du, ParameterVector* dv) {
  const double s = n.x * n.x + n.y * n.y;
  const double denominator = lens.denominator(s);
  const double g = lens.numerator(s) / denominator;
  double factor = s / denominator;
  for (int j = kK1; j < kK1 + 3; ++j) {
    (*du)[j] = fx * n.x * factor;
    (*dv)[j] = fy * n.y * factor;
    (*du)[j + 3] = -g * (*du)[j];
    (*dv)[j + 3] = -g * (*dv)[j];
    factor *= s;
  }
}

void setTangentialColumns(const calibration::NormalizedPoint<double>& n, double fx, double fy,
                          ParameterVector* du, ParameterVector* dv) {
  const double xx = n.x * n.x;
  const double yy = n.y * n.y;
  const double xy = n.x * n.y;
  du->segment<2>(kP1) << fx * 2 * xy, fx * (3 * xx + yy);
  dv->segment<2>(kP1) << fy * (xx + 3 * yy), fy * 2 * xy;
}

/// Derivatives of one coordinate, f times `distorted` of the normalised point n = (X / Z, Y / Z),
/// by the pose. The rotation moves the point by w x r, r = R X, and a . (w x r) = w . (r x a).
void setPoseColumns(double f, const Dual2& distorted, const calibration::NormalizedPoint<double>& n,
                    double depth, const Eigen::Vector3d& r, ParameterVector* derivatives) {
  const double by_x = f / depth * distorted.derivatives[0];
  const double by_y = f / depth * distorted.derivatives[1];
  const Eigen::Vector3d by_point(by_x, by_y, -(by_x * n.x + by_y * n.y));
  derivatives->segment<3>(kRotation) = r.cross(by_point);
  derivatives->segment<3>(kTranslation) = by_point;
}

}  // namespace

std::optional<Eigen::Vector2d> Projector::project(const PointPair& point) const {
  const Eigen::Vector3d p = rotated(camera_, point) + camera_.translation;
  if (!(p.z() > kMinDepth)) return std::nullopt;
  const calibration::NormalizedPoint<double> n = {p.x() / p.z(), p.y() / p.z()};
  const double s = n.x * n.x + n.y * n.y;
  if (!(lens_.numerator(s) > kMinPolynomial)) return std::nullopt;
  if (!(lens_.denominator(s) > kMinPolynomial)) return std::nullopt;
  const calibration::NormalizedPoint<double> distorted = lens_.distort(n);
  return Eigen::Vector2d(camera_.intrinsics[kFx] * distorted.x + camera_.intrinsics[kCx],
                         camera_.intrinsics[kFy] * distorted.y + camera_.intrinsics[kCy]);
}

void Projector::linearize(const PointPair& point, Row* u, Row* v) const {
  const Eigen::Vector3d r = rotated(camera_, point);
  const Eigen::Vector3d p = r + camera_.translation;
  const calibration::NormalizedPoint<double> n = {p.x() / p.z(), p.y() / p.z()};
  const calibration::NormalizedPoint<Dual2> distorted = lens_.distort(
      calibration::NormalizedPoint<Dual2>{Dual2::variable(n.x, 0), Dual2::variable(n.y, 1)});
  const double fx = camera_.intrinsics[kFx];
  const double fy = camera_.intrinsics[kFy];
  u->residual = fx * distorted.x.value + camera_.intrinsics[kCx] - point.u;
  v->residual = fy * distorted.y.value + camera_.intrinsics[kCy] - point.v;
  u->derivatives.head<4>() << distorted.x.value, 0, 1, 0;
  v->derivatives.head<4>() << 0, distorted.y.value, 0, 1;
  setRadialColumns(lens_, n, fx, fy, &u->derivatives, &v->derivatives);
  setTangentialColumns(n, fx, fy, &u->derivatives, &v->derivatives);
  setPoseColumns(fx, distorted.x, n, p.z(), r, &u->derivatives);
  setPoseColumns(fy, distorted.y, n, p.z(), r, &v->derivatives);
}

}  // namespace norv::internal::fit
