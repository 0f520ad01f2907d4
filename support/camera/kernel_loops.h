#pragma once

/// The loops of `Kernels`, for the lanes of one instruction set. Included once by each of the files
/// that are compiled for one, after NORV_LANES and NORV_KERNELS; only templates of `Lanes`, and
/// functions of that namespace, may be called here (kernels.h).

#include "support/camera/jacobian_formulas.h"
#include "support/camera/kernels.h"
#include "support/camera/lanes.h"
#include "support/camera/point_formulas.h"

namespace norv::internal::NORV_KERNELS {
namespace {

using Pair = calibration::NormalizedPoint<Lanes>;
using Triple = Point3<Lanes>;

constexpr auto kStep = static_cast<std::size_t>(kLanes);

/// How many points of a group of lanes there are; the lanes beyond are computed and dropped.
int lanesAt(std::size_t begin, std::size_t count) {
  return count - begin < kStep ? static_cast<int>(count - begin) : kLanes;
}

/// Coordinate `c` of the points from `begin` on; lanes beyond the last repeat it.
template <class T>
Lanes loadPoints(const T* data, std::ptrdiff_t stride, std::size_t begin, int valid) {
  const T* const first = data + static_cast<std::ptrdiff_t>(begin) * stride;
  if (valid == kLanes) return load(first, stride);
  Doubles all{};
  for (int i = 0; i < kLanes; ++i) {
    all[i] = static_cast<double>(first[(i < valid ? i : valid - 1) * stride]);
  }
  return Lanes(all);
}

template <class T>
void storePoints(const Lanes& lanes, T* data, std::ptrdiff_t stride, std::size_t begin, int valid) {
  T* const first = data + static_cast<std::ptrdiff_t>(begin) * stride;
  if (valid == kLanes) {
    store(lanes, kLanes, first, stride);
  } else {
    store(lanes, valid, first, stride);
  }
}

void storeCodes(const Lanes& code, std::uint8_t* codes, int valid) {
  if (!anyOf(code != 0)) {
    for (int i = 0; i < valid; ++i) codes[i] = 0;
  } else {
    store(code, valid, codes, 1);
  }
}

template <class T>
Triple loadTriple(const Points<T>& points, std::size_t begin, int valid) {
  const T* const data = points.data;
  const std::ptrdiff_t next = points.coordinate_stride;
  return {loadPoints(data, points.stride, begin, valid),
          loadPoints(data + next, points.stride, begin, valid),
          loadPoints(data + 2 * next, points.stride, begin, valid)};
}

template <class T>
void storePair(const Lanes& x, const Lanes& y, const Points<T>& points, std::size_t begin,
               int valid) {
  storePoints(x, points.data, points.stride, begin, valid);
  storePoints(y, points.data + points.coordinate_stride, points.stride, begin, valid);
}

template <bool kHasPose>
void projectAll(const PreparedCamera& camera, const PoseRows* pose,
                const Points<const double>& points, std::size_t count,
                const Points<double>& pixels, std::uint8_t* codes) {
  for (std::size_t i = 0; i < count; i += kStep) {
    const int valid = lanesAt(i, count);
    const Triple given = loadTriple(points, i, valid);
    const Lanes zero = 0 * given.x + 0 * given.y + 0 * given.z;
    CodedPoint<Lanes> answer;
    if constexpr (kHasPose) {
      answer = projected(camera, transformed(*pose, given), zero);
    } else {
      answer = projected(camera, given, zero);
    }
    storePair(answer.x, answer.y, pixels, i, valid);
    storeCodes(answer.code, codes + i, valid);
  }
}

void project(const PreparedCamera& camera, const PoseRows* pose, const Points<const double>& points,
             std::size_t count, const Points<double>& pixels, std::uint8_t* codes) {
  if (pose != nullptr) {
    projectAll<true>(camera, pose, points, count, pixels, codes);
  } else {
    projectAll<false>(camera, nullptr, points, count, pixels, codes);
  }
}

void projectUnchecked(const PreparedCamera& camera, const PoseRows& pose,
                      const Points<const float>& points, std::size_t count,
                      const Points<float>& pixels) {
  for (std::size_t i = 0; i < count; i += kStep) {
    const int valid = lanesAt(i, count);
    const Pair pixel = pixelOf(camera.model, transformed(pose, loadTriple(points, i, valid)));
    storePair(pixel.x, pixel.y, pixels, i, valid);
  }
}

template <class T>
void rectifyAll(const PreparedCamera& camera, const Points<const T>& pixels, std::size_t count,
                const Points<T>& rays, std::uint8_t* codes) {
  for (std::size_t i = 0; i < count; i += kStep) {
    const int valid = lanesAt(i, count);
    const Lanes u = loadPoints(pixels.data, pixels.stride, i, valid);
    const Lanes v =
        loadPoints(pixels.data + pixels.coordinate_stride, pixels.stride, i, valid);
    const CodedPoint<Lanes> answer = rectified(camera, u, v);
    storePair(answer.x, answer.y, rays, i, valid);
    storeCodes(answer.code, codes + i, valid);
  }
}

void rectify(const PreparedCamera& camera, const Points<const double>& pixels, std::size_t count,
             const Points<double>& rays, std::uint8_t* codes) {
  rectifyAll<double>(camera, pixels, count, rays, codes);
}

void rectifyFloats(const PreparedCamera& camera, const Points<const float>& pixels,
                   std::size_t count, const Points<float>& rays, std::uint8_t* codes) {
  rectifyAll<float>(camera, pixels, count, rays, codes);
}

void projectionJacobians(const PreparedCamera& camera, const Points<const double>& points,
                         std::size_t count, double* jacobians) {
  for (std::size_t i = 0; i < count; i += kStep) {
    const int valid = lanesAt(i, count);
    Lanes all[kProjectionNumbers];
    projectionJacobian(camera.model, loadTriple(points, i, valid), all);
    double* const first = jacobians + i * kProjectionNumbers;
    for (int k = 0; k < kProjectionNumbers; ++k) {
      storePoints(all[k], first + k, kProjectionNumbers, 0, valid);
    }
  }
}

void rectificationJacobians(const PreparedCamera& camera, const Points<const double>& rays,
                            std::size_t count, double* jacobians) {
  for (std::size_t i = 0; i < count; i += kStep) {
    const int valid = lanesAt(i, count);
    const Pair ray{loadPoints(rays.data, rays.stride, i, valid),
                   loadPoints(rays.data + rays.coordinate_stride, rays.stride, i, valid)};
    Lanes all[kRectificationNumbers];
    rectificationJacobian(camera.model, ray, all);
    double* const first = jacobians + i * kRectificationNumbers;
    for (int k = 0; k < kRectificationNumbers; ++k) {
      storePoints(all[k], first + k, kRectificationNumbers, 0, valid);
    }
  }
}

template <bool kIsStraight>
void rectifyRowAll(const PreparedCamera& camera, const RayRow& row, std::size_t begin,
                   std::size_t count, float* map_x, float* map_y, std::uint8_t* codes) {
  for (std::size_t i = 0; i < count; i += kStep) {
    const int valid = lanesAt(i, count);
    const Lanes column = static_cast<double>(begin + i) + counting();
    const Pair p{row.x0 + column * row.dx, row.y0 + column * row.dy};
    CodedPoint<Lanes> pixel;
    if constexpr (kIsStraight) {
      const CodedPoint<Lanes> seen = pixelOfRay(camera, p);
      pixel = answered(seen.x, seen.y, seen.code);
    } else {
      const Lanes z = row.z0 + column * row.dz;
      pixel = projected(camera, {p.x, p.y, z}, 0 * p.x + 0 * p.y + 0 * z);
    }
    store(pixel.x - 0.5, valid, map_x + i, 1);
    store(pixel.y - 0.5, valid, map_y + i, 1);
    storeCodes(pixel.code, codes + i, valid);
  }
}

void rectifyRow(const PreparedCamera& camera, const RayRow& row, std::size_t begin,
                std::size_t count, float* map_x, float* map_y, std::uint8_t* codes) {
  if (row.is_straight) {
    rectifyRowAll<true>(camera, row, begin, count, map_x, map_y, codes);
  } else {
    rectifyRowAll<false>(camera, row, begin, count, map_x, map_y, codes);
  }
}

void viewRow(const ViewFormula& view, const double* rays, std::size_t count, float* map_x,
             float* map_y) {
  const auto& r = view.rotation;
  for (std::size_t i = 0; i < count; i += kStep) {
    const int valid = lanesAt(i, count);
    const Lanes x = loadPoints(rays, 2, i, valid);
    const Lanes y = loadPoints(rays + 1, 2, i, valid);
    const Lanes z = r[2][0] * x + r[2][1] * y + r[2][2];
    const Lanes u = view.fx * ((r[0][0] * x + r[0][1] * y + r[0][2]) / z) + view.cx - 0.5;
    const Lanes v = view.fy * ((r[1][0] * x + r[1][1] * y + r[1][2]) / z) + view.cy - 0.5;
    const Mask seen = both(z > 0, inFloatRange(u, v));
    store(select(seen, u, Lanes(kNoNumber)), valid, map_x + i, 1);
    store(select(seen, v, Lanes(kNoNumber)), valid, map_y + i, 1);
  }
}

using Integers = std::int32_t __attribute__((vector_size(NORV_LANES * sizeof(std::int32_t))));

/// Thirty-seconds, halves rounded to even; the least integer for what exceeds them all and for NaN.
Integers toThirtySeconds(const Lanes& x) {
  constexpr double kRounder = 0x1.8p52;
  const Lanes rounded = (32 * x + kRounder) - kRounder;
  const Mask fits = both(rounded >= -0x1p31, rounded < 0x1p31);
  return __builtin_convertvector(select(fits, rounded, Lanes(-0x1p31)).v, Integers);
}

/// The whole part of thirty-seconds, in the range of 16 bits.
Integers wholeOf(const Integers& thirty_seconds) {
  const Integers whole = thirty_seconds >> 5;
  const Integers most = Integers{} + 32767;
  const Integers least = Integers{} - 32768;
  const Integers bounded = whole > most ? most : whole;
  return bounded < least ? least : bounded;
}

void toFixedPoint(const float* map_x, const float* map_y, std::size_t count, std::int16_t* xy,
                  std::uint16_t* fraction) {
  for (std::size_t i = 0; i < count; i += kStep) {
    const int valid = lanesAt(i, count);
    const Integers x = toThirtySeconds(loadPoints(map_x, 1, i, valid));
    const Integers y = toThirtySeconds(loadPoints(map_y, 1, i, valid));
    const Integers whole_x = wholeOf(x);
    const Integers whole_y = wholeOf(y);
    const Integers rest = (y & 31) * 32 + (x & 31);
    for (int k = 0; k < valid; ++k) {
      const auto at = i + static_cast<std::size_t>(k);
      xy[2 * at] = static_cast<std::int16_t>(whole_x[k]);
      xy[2 * at + 1] = static_cast<std::int16_t>(whole_y[k]);
      fraction[at] = static_cast<std::uint16_t>(rest[k]);
    }
  }
}

constexpr Kernels kernelsNamed(const char* name) {
  return {name,          project,       projectUnchecked,       projectionJacobians,
          rectify,       rectifyFloats, rectificationJacobians, rectifyRow,
          viewRow,       toFixedPoint};
}

}  // namespace
}  // namespace norv::internal::NORV_KERNELS
