#pragma once

/// Points on their way through the lanes of one instruction set (lanes.h).

#include <cstddef>

#include "support/camera/lanes.h"
#include "support/camera/point_formulas.h"
#include "support/lens_distortion.h"

namespace norv::internal::NORV_KERNELS {

using Pair = calibration::NormalizedPoint<Lanes>;
using Triple = Point3<Lanes>;

inline constexpr auto kStep = static_cast<std::size_t>(kLanes);

/// Rays between the steps of a pipeline, which goes round.
struct RayRing {
  static constexpr std::size_t kGroups = 16;

  static std::size_t placeOf(std::size_t point) { return point / kStep % kGroups; }

  void set(std::size_t point, const Triple& p) {
    const std::size_t k = placeOf(point);
    x[k] = p.x / p.z;
    y[k] = p.y / p.z;
    z[k] = p.z;
  }

  void setFactor(std::size_t point, const calibration::LensDistortion<double>& lens) {
    const std::size_t k = placeOf(point);
    factor[k] = radialFactor(lens, Pair{x[k], y[k]});
  }

  ImagedRay<Lanes> imaged(std::size_t point, const calibration::CameraModel& camera) const {
    const std::size_t k = placeOf(point);
    return ImagedRay<Lanes>(camera, {x[k], y[k]}, factor[k]);
  }

  Lanes x[kGroups];
  Lanes y[kGroups];
  Lanes z[kGroups];
  Lanes factor[kGroups];
};

/// Calls `first(i, lanes)`, `second(i)` and `third(i, lanes)` for the points from i on, in groups
/// that make up [0, count).
///
/// The whole way of a point is a chain of some 90 cycles, of which divisions wait the most; the
/// processor's schedulers do not hold enough points to keep busy during it. So the steps work on
/// points that lie kLag groups apart, one after the other but independent of each other.
template <class First, class Second, class Third>
void inPipeline(std::size_t count, const First& first, const Second& second, const Third& third) {
  constexpr std::size_t kLag = 4;
  constexpr std::size_t kBehind = 2 * kLag;
  static_assert(kBehind < RayRing::kGroups);
  const std::size_t groups = count / kStep;
  for (std::size_t k = 0; k < groups + kBehind; ++k) {
    for (; k >= kBehind && k < groups; ++k) {
      first(k * kStep, AllLanes{});
      second((k - kLag) * kStep);
      third((k - kBehind) * kStep, AllLanes{});
    }
    if (k < groups) first(k * kStep, AllLanes{});
    if (k >= kLag && k - kLag < groups) second((k - kLag) * kStep);
    if (k >= kBehind && k - kBehind < groups) third((k - kBehind) * kStep, AllLanes{});
  }
  const std::size_t done = groups * kStep;
  if (done == count) return;
  first(done, static_cast<int>(count - done));
  second(done);
  third(done, static_cast<int>(count - done));
}

}  // namespace norv::internal::NORV_KERNELS
