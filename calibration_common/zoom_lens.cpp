#include "calibration_common/zoom_lens.h"

#include <algorithm>

#include "support/numeric/saturate.h"

namespace norv::internal {

ZoomLens blendLenses(const calibration::PTZIntrinsicsItem& a,
                     const calibration::PTZIntrinsicsItem& b, double zoom) {
  const double a1 = (b.zoom() - zoom) / (b.zoom() - a.zoom());
  const double a2 = 1 - a1;
  const double weight_a = a.focal_length() * a1;
  const double weight_b = b.focal_length() * a2;
  const double f = weight_a + weight_b;
  calibration::LensDistortion<double> lens;
  lens.k1 = (weight_b * a.k4() + weight_a * b.k4() + weight_a * a.k1() + weight_b * b.k1()) / f;
  lens.k2 = (weight_b * b.k1() * a.k4() + weight_a * a.k1() * b.k4()) / f;
  lens.k4 = a.k4() + b.k4();
  lens.k5 = a.k4() * b.k4();
  lens.p1 = a1 * a.p1() + a2 * b.p1();
  lens.p2 = a1 * a.p2() + a2 * b.p2();
  return {a1, a2, f, a1 * a.cx() + a2 * b.cx(), a1 * a.cy() + a2 * b.cy(), lens};
}

ZoomPosition zoomForFocalLength(const calibration::PTZIntrinsicsTable& table, double focal_length) {
  const auto& samples = table.samples();
  if (samples[0].focal_length() > focal_length) return {0, nullptr, nullptr};
  const auto upper = std::find_if(samples.begin() + 1, samples.end(), [&](const auto& sample) {
    return sample.focal_length() > focal_length;
  });
  if (upper == samples.end()) {
    return {truncateToInt(samples[samples.size() - 1].zoom()), nullptr, nullptr};
  }
  const auto lower = upper - 1;
  const auto fraction = static_cast<float>((focal_length - lower->focal_length()) /
                                           (upper->focal_length() - lower->focal_length()));
  const double position =
      static_cast<double>(fraction) * (upper->zoom() - lower->zoom()) + lower->zoom();
  return {truncateToInt(position), &*lower, &*upper};
}

}  // namespace norv::internal
