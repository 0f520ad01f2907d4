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

bool hasNumbersInRange(const calibration::CameraModel& camera) {
  const std::array<double, 8> lens = camera.lens.toCoefficients();
  const std::array<double, 5> matrix = {camera.fx, camera.fy, camera.skew, camera.cx, camera.cy};
  return std::all_of(lens.begin(), lens.end(), isInFloatRange) &&
         std::all_of(matrix.begin(), matrix.end(), isInFloatRange);
}

/// The largest squared radius, but for a fraction of 1e-4, of which `LensInverse::surelyInside`
/// says yes; it then does for every smaller one.
double findQuick(const calibration::LensDistortion<double>& lens) {
  const LensInverse inverse(lens);
  double inside = 0;
  double outside = kFarthest;
  if (inverse.surelyInside(outside)) return outside;
  for (int i = 0; i < 24 && outside - inside > 1e-4 * inside; ++i) {
    // Halving the exponent first: the radius may be any.
    const double middle = inside > 0 ? 0.5 * (inside + outside) : 0.1 * outside;
    (inverse.surelyInside(middle) ? inside : outside) = middle;
  }
  return inside;
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
  prepared.certain = domain.certain;
  prepared.beyond = std::isfinite(domain.end) ? domain.end : kNaN;
  return prepared;
}

PreparedCamera prepareForRectification(const calibration::CameraModel& camera) {
  PreparedCamera prepared = unprepared(camera);
  if (prepared.isUsable()) prepared.quick = findQuick(camera.lens);
  return prepared;
}

PreparedCamera unprepared(const calibration::CameraModel& camera) {
  return {camera, NewtonStart(camera.lens), 0, kNaN, -1, hasNumbersInRange(camera) ? 0 : kNaN};
}

}  // namespace norv::internal
