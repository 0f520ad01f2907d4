#include "support/camera/point_solver.h"

#include <cmath>

#include "support/lens/lens_domain.h"

namespace norv::internal {

using calibration::NormalizedPoint;
using calibration::PointStatus;

namespace {

PointAnswer answerOf(const CodedPoint<double>& point, PointStatus status) {
  if (calibration::hasAnswer(status)) return {point.x, point.y, status};
  return {kNoNumber, kNoNumber, status};
}

PointStatus statusOf(double code) { return static_cast<PointStatus>(code); }

/// Squared radius up to which the terms of `LensInverse` do not overflow.
constexpr double kFarthest = 1e6;

}  // namespace

LensInverse& PointSolver::inverse() {
  if (!inverse_) inverse_.emplace(camera_.model.lens);
  return *inverse_;
}

PointAnswer PointSolver::askMore(const Point3<double>& p, const Point3<double>& given) {
  const NormalizedPoint<double> ray{p.x / p.z, p.y / p.z};
  const ImagedRay<double> at(camera_.model, ray, radialFactor(camera_.model.lens, ray));
  const CodedPoint<double> pixel = coded(camera_, p.z, given, at);
  const bool is_open = pixel.code == kUndecided;
  return answerOf(pixel, is_open ? decide(ray, pixel) : statusOf(pixel.code));
}

PointStatus PointSolver::decide(const NormalizedPoint<double>& ray,
                                const CodedPoint<double>& pixel) {
  if (!isImaged(ray)) return PointStatus::kBeyondLens;
  if (!inFloatRange(pixel.x, pixel.y)) return PointStatus::kNotFinite;
  return statusOf(placeCode(camera_, pixel.x, pixel.y));
}

bool PointSolver::isImaged(const NormalizedPoint<double>& ray) {
  const double s = ray.x * ray.x + ray.y * ray.y;
  if (s < kFarthest) return inverse().contains(ray);
  const LensDomain domain(camera_.model.lens);
  return std::isinf(domain.certain) || s < domain.certain || inverse().contains(ray);
}

PointAnswer PointSolver::rectify(double u, double v) {
  const NormalizedPoint<double> target = targetOf(camera_.model, u, v);
  if (!camera_.isUsable() || !std::isfinite(target.x) || !std::isfinite(target.y)) {
    return {kNoNumber, kNoNumber, PointStatus::kNotFinite};
  }
  const NormalizedPoint<double> ray = inverse().undistort(target);
  if (std::isnan(ray.x)) {
    // A radial map that never ends reaches every pixel: by a ray beyond numbers then.
    const bool is_too_large = inverse().isRadial() && inverse().neverEnds();
    return {kNoNumber, kNoNumber,
            is_too_large ? PointStatus::kNotFinite : PointStatus::kBeyondLens};
  }
  const bool fits = inFloatRange(ray.x, ray.y);
  return answerOf({ray.x, ray.y, 0},
                  fits ? statusOf(placeCode(camera_, u, v)) : PointStatus::kNotFinite);
}

}  // namespace norv::internal
