#include "calibration_common/aiming/frozen_lens.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

#include "calibration_common/zoom_lens.h"
#include "support/numeric/saturate.h"

namespace norv::internal {
namespace {

/// To single precision and back. Not inlined: GCC 12 leaves out the rounding where it sees both
/// conversions of two numbers side by side.
[[gnu::noinline]] double narrowed(double value) {
  return static_cast<double>(static_cast<float>(value));
}

ZoomLens blendAt(const calibration::PTZCameraModel& model, int zoom) {
  const std::int64_t index = model.getIntrinsicsIndex(zoom);
  return blendLenses(*model.getIntrinsics(clampToInt(index)),
                     *model.getIntrinsics(clampToInt(index + 1)), zoom);
}

calibration::LensDistortion<double> narrowed(const calibration::LensDistortion<double>& lens) {
  calibration::LensDistortion<double> result;
  result.k1 = narrowed(lens.k1);
  result.k2 = narrowed(lens.k2);
  result.p1 = narrowed(lens.p1);
  result.p2 = narrowed(lens.p2);
  result.k4 = narrowed(lens.k4);
  result.k5 = narrowed(lens.k5);
  return result;
}

}  // namespace

FrozenLens::FrozenLens(const calibration::PTZCameraModel& model, int zoom)
    : FrozenLens(blendAt(model, zoom)) {}

FrozenLens::FrozenLens(const ZoomLens& blend)
    : focal_length_(narrowed(blend.focal_length)),
      principal_point_(narrowed(blend.cx), narrowed(blend.cy)),
      lens_(narrowed(blend.lens)),
      inverse_(lens_) {}

bool FrozenLens::isUsable() const {
  const std::array<double, 8> all = lens_.toCoefficients();
  return focal_length_ > 0 && std::isfinite(focal_length_) && principal_point_.allFinite() &&
         std::all_of(all.begin(), all.end(), [](double k) { return std::isfinite(k); });
}

Eigen::Vector2d FrozenLens::rectify(const Eigen::Vector2d& pixel) {
  const Eigen::Vector2d target = (pixel - principal_point_) / focal_length_;
  const LensInverse::Point ray = inverse_.undistort({target.x(), target.y()});
  return {ray.x, ray.y};
}

Eigen::Vector2d FrozenLens::movedRay(const Eigen::Vector2d& ray,
                                     const Eigen::Vector2d& shift) const {
  const LensInverse::Point from = {ray.x(), ray.y()};
  const LensInverse::Point at = lens_.distort(from);
  const LensInverse::Point target = {at.x + shift.x() / focal_length_,
                                     at.y + shift.y() / focal_length_};
  const LensInverse::Point moved = LensNewtonStep<double>(lens_, from, target).next(1);
  return {moved.x, moved.y};
}

bool FrozenLens::isImaged(const LensInverse::Point& ray) {
  const double s = ray.x * ray.x + ray.y * ray.y;
  if (s <= certain_) return true;
  if (!std::isfinite(s)) return false;
  // Points farther out are likely to follow.
  for (const double reach : {4 * s, s}) {
    if (!inverse_.surelyInside(reach)) continue;
    certain_ = reach;
    return true;
  }
  return inverse_.contains(ray);
}

}  // namespace norv::internal
