#include "support/camera/prepared_camera.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "support/lens/lens_domain.h"
#include "support/lens/lens_inverse.h"
#include "support/numeric/float_range.h"

namespace norv::internal {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
/// Squared radius beyond which no picture reaches: 89.9 degrees from the axis are 3e5.
constexpr double kFarthest = 1e6;

bool isCamera(const calibration::CameraModel& camera) {
  const std::array<double, 8> lens = camera.lens.toCoefficients();
  const std::array<double, 5> matrix = {camera.fx, camera.fy, camera.skew, camera.cx, camera.cy};
  return camera.fx != 0 && camera.fy != 0 &&
         std::all_of(lens.begin(), lens.end(), isInFloatRange) &&
         std::all_of(matrix.begin(), matrix.end(), isInFloatRange);
}

/// By how much of them bounds of squared radii are moved to where rounding cannot contradict what
/// `LensInverse` says of a point: a polynomial of degree n that touches zero n times is lost in
/// rounding for the n-th root of 1e-16 about it, n being 6 here.
constexpr double kRounding = 3e-3;

double findCertain(const LensInverse& inverse, const LensDomain& domain) {
  return inverse.isRadial() ? domain.certain : domain.certain * (1 - kRounding);
}

double findBeyond(const LensInverse& inverse, double end) {
  const double beyond = end * (1 + kRounding);
  return std::isfinite(beyond) && !inverse.surelyInside(beyond) ? beyond : kNaN;
}

/// The largest squared radius, but for some thousandths, up to which `LensInverse::surelyInside`
/// says yes.
double findQuick(const LensInverse& inverse) {
  double inside = 0;
  double outside = kFarthest;
  if (inverse.surelyInside(outside)) return (1 - kRounding) * outside;
  for (int i = 0; i < 24 && outside - inside > 1e-4 * inside; ++i) {
    // Halving the exponent first: the radius may be any.
    const double middle = inside > 0 ? 0.5 * (inside + outside) : 0.1 * outside;
    (inverse.surelyInside(middle) ? inside : outside) = middle;
  }
  return (1 - kRounding) * inside;
}

}  // namespace

PreparedCamera prepare(const calibration::CameraModel& camera) {
  PreparedCamera prepared = prepareForProjection(camera);
  prepared.quick = prepareForRectification(camera).quick;
  return prepared;
}

PreparedCamera prepareForProjection(const calibration::CameraModel& camera) {
  PreparedCamera prepared = unprepared(camera);
  if (!prepared.isUsable()) return prepared;
  const LensDomain domain(camera.lens);
  const LensInverse inverse(camera.lens);
  prepared.certain = findCertain(inverse, domain);
  prepared.beyond = findBeyond(inverse, domain.end);
  return prepared;
}

PreparedCamera prepareForRectification(const calibration::CameraModel& camera) {
  PreparedCamera prepared = unprepared(camera);
  if (prepared.isUsable()) prepared.quick = findQuick(LensInverse(camera.lens));
  return prepared;
}

PreparedCamera unprepared(const calibration::CameraModel& camera) {
  return {camera,
          static_cast<double>(camera.width),
          static_cast<double>(camera.height),
          NewtonStart(camera.lens),
          0,
          kNaN,
          -1,
          isCamera(camera) ? 0 : kNaN};
}

}  // namespace norv::internal
