#pragma once

/// The loops of `Kernels`, for the lanes of one instruction set. Included once by each of the files
/// that are compiled for one, after NORV_LANES and NORV_KERNELS; only templates of `Lanes`, and
/// functions of that namespace, may be called here (kernels.h).

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "support/camera/fixed_point_lanes.h"
#include "support/camera/jacobian_formulas.h"
#include "support/camera/kernels.h"
#include "support/camera/lane_memory.h"
#include "support/camera/lane_pipeline.h"
#include "support/camera/lanes.h"
#include "support/camera/point_formulas.h"

/// All that a loop calls becomes part of it: what goes through memory on the way costs more than
/// the arithmetic.
#define NORV_ONE_LOOP __attribute__((flatten))

namespace norv::internal::NORV_KERNELS {

/// Calls `group(begin, lanes)` for groups of points that make up [0, count).
template <class Group>
void forGroups(std::size_t count, const Group& group) {
  std::size_t i = 0;
  for (; i + kStep <= count; i += kStep) group(i, AllLanes{});
  if (i < count) group(i, static_cast<int>(count - i));
}

/// Whether any of the codes, that of a lane without a point too, is not that of `kOk`.
template <class Count>
bool storeCodes(const Lanes& code, std::uint8_t* codes, Count valid) {
  if (!allOf(code == 0)) {
    store(code, valid, codes, 1);
    return true;
  }
  __builtin_memset(codes, 0, static_cast<std::size_t>(valid));
  return false;
}

template <bool kHasPose>
bool projectAll(const PreparedCamera& shared, const PoseRows* pose,
                const Points<const double>& points, std::size_t count, const Points<double>& pixels,
                std::uint8_t* codes) {
  const PreparedCamera camera = shared;
  bool not_ok = false;
  RayRing rays;
  inPipeline(
      count,
      [&](std::size_t i, auto valid) {
        const Triple p = loadTriple(points, i, valid);
        if constexpr (kHasPose) {
          rays.set(i, transformed(*pose, p));
        } else {
          rays.set(i, p);
        }
      },
      [&](std::size_t i) { rays.setFactor(i, camera.model.lens); },
      [&](std::size_t i, auto valid) {
        const auto given = [&] { return loadTriple(points, i, valid); };
        const CodedPoint<Lanes> answer =
            projected(camera, rays.z[RayRing::placeOf(i)], rays.imaged(i, camera.model), given);
        storePair(answer.x, answer.y, pixels, i, valid);
        not_ok |= storeCodes(answer.code, codes + i, valid);
      });
  return not_ok;
}

NORV_ONE_LOOP inline bool project(const PreparedCamera& camera, const PoseRows* pose,
                                  const Points<const double>& points, std::size_t count,
                                  const Points<double>& pixels, std::uint8_t* codes) {
  if (pose != nullptr) {
    return projectAll<true>(camera, pose, points, count, pixels, codes);
  }
  return projectAll<false>(camera, nullptr, points, count, pixels, codes);
}

NORV_ONE_LOOP inline void projectUnchecked(const MatrixRows2x3& matrix, const Lens& coefficients,
                                           const PoseRows& rows, const Points<const float>& points,
                                           std::size_t count, const Points<float>& pixels) {
  const MatrixRows2x3 k = matrix;
  const Lens lens = coefficients;
  const PoseRows pose = rows;
  forGroups(count, [&](std::size_t i, auto valid) {
    const Pair pixel = uncheckedPixel(k, lens, transformed(pose, loadTriple(points, i, valid)));
    storePair(pixel.x, pixel.y, pixels, i, valid);
  });
}

template <class T>
bool rectifyAll(const PreparedCamera& shared, const Points<const T>& pixels, std::size_t count,
                const Points<T>& rays, std::uint8_t* codes) {
  const PreparedCamera camera = shared;
  bool not_ok = false;
  forGroups(count, [&](std::size_t i, auto valid) {
    const Pair pixel = loadPair(pixels, i, valid);
    const CodedPoint<Lanes> answer = rectified(camera, pixel.x, pixel.y);
    storePair(answer.x, answer.y, rays, i, valid);
    not_ok |= storeCodes(answer.code, codes + i, valid);
  });
  return not_ok;
}

NORV_ONE_LOOP inline bool rectify(const PreparedCamera& camera, const Points<const double>& pixels,
                                  std::size_t count, const Points<double>& rays,
                                  std::uint8_t* codes) {
  return rectifyAll<double>(camera, pixels, count, rays, codes);
}

NORV_ONE_LOOP inline bool rectifyFloats(const PreparedCamera& camera,
                                        const Points<const float>& pixels, std::size_t count,
                                        const Points<float>& rays, std::uint8_t* codes) {
  return rectifyAll<float>(camera, pixels, count, rays, codes);
}

NORV_ONE_LOOP inline void projectionJacobians(const PreparedCamera& shared,
                                              const Points<const double>& points, std::size_t count,
                                              double* jacobians) {
  const PreparedCamera camera = shared;
  forGroups(count, [&](std::size_t i, auto valid) {
    Lanes all[kProjectionNumbers];
    projectionJacobian(camera.model, loadTriple(points, i, valid), all);
    double* const first = jacobians + i * kProjectionNumbers;
    for (int k = 0; k < kProjectionNumbers; ++k) {
      store(all[k], valid, first + k, kProjectionNumbers);
    }
  });
}

NORV_ONE_LOOP inline void rectificationJacobians(const PreparedCamera& shared,
                                                 const Points<const double>& rays,
                                                 std::size_t count, double* jacobians) {
  const PreparedCamera camera = shared;
  forGroups(count, [&](std::size_t i, auto valid) {
    const Pair ray = loadPair(rays, i, valid);
    Lanes all[kRectificationNumbers];
    rectificationJacobian(camera.model, ray, all);
    double* const first = jacobians + i * kRectificationNumbers;
    for (int k = 0; k < kRectificationNumbers; ++k) {
      store(all[k], valid, first + k, kRectificationNumbers);
    }
  });
}

/// The coordinates in the row of the columns from `column` on.
inline Triple raysOf(const RayRow& row, std::size_t column) {
  const Lanes i = static_cast<double>(static_cast<std::int64_t>(column)) + counting();
  return {row.x0 + i * row.dx, row.y0 + i * row.dy, row.z0 + i * row.dz};
}

inline bool rectifyTurnedRow(const PreparedCamera& shared, const RayRow& line, std::size_t begin,
                             std::size_t count, float* map_x, float* map_y, std::uint8_t* codes) {
  const PreparedCamera camera = shared;
  const RayRow row = line;
  RayRing rays;
  bool not_ok = false;
  inPipeline(
      count, [&](std::size_t i, auto /*valid*/) { rays.set(i, raysOf(row, begin + i)); },
      [&](std::size_t i) { rays.setFactor(i, camera.model.lens); },
      [&](std::size_t i, auto valid) {
        const std::size_t k = RayRing::placeOf(i);
        const CodedPoint<Lanes> pixel =
            placed(camera, rays.z[k], {rays.x[k], rays.y[k]}, rays.imaged(i, camera.model));
        storeRow(pixel.x - 0.5, valid, map_x + i);
        storeRow(pixel.y - 0.5, valid, map_y + i);
        not_ok |= storeCodes(pixel.code, codes + i, valid);
      });
  return not_ok;
}

/// The same for rays of depth 1, which share their y.
inline bool rectifyStraightRow(const PreparedCamera& shared, const RayRow& line, std::size_t begin,
                               std::size_t count, float* map_x, float* map_y, std::uint8_t* codes) {
  const PreparedCamera camera = shared;
  const RayRow row = line;
  const Lanes y = row.y0;
  Lanes x[RayRing::kGroups];
  Lanes factor[RayRing::kGroups];
  bool not_ok = false;
  inPipeline(
      count,
      [&](std::size_t i, auto /*valid*/) { x[RayRing::placeOf(i)] = raysOf(row, begin + i).x; },
      [&](std::size_t i) {
        const std::size_t k = RayRing::placeOf(i);
        factor[k] = radialFactor(camera.model.lens, Pair{x[k], y});
      },
      [&](std::size_t i, auto valid) {
        const std::size_t k = RayRing::placeOf(i);
        const Pair ray{x[k], y};
        const CodedPoint<Lanes> pixel =
            placed(camera, Lanes(1), ray, ImagedRay<Lanes>(camera.model, ray, factor[k]));
        storeRow(pixel.x - 0.5, valid, map_x + i);
        storeRow(pixel.y - 0.5, valid, map_y + i);
        not_ok |= storeCodes(pixel.code, codes + i, valid);
      });
  return not_ok;
}

NORV_ONE_LOOP inline bool rectifyRow(const PreparedCamera& camera, const RayRow& row,
                                     std::size_t begin, std::size_t count, float* map_x,
                                     float* map_y, std::uint8_t* codes) {
  return row.is_straight ? rectifyStraightRow(camera, row, begin, count, map_x, map_y, codes)
                         : rectifyTurnedRow(camera, row, begin, count, map_x, map_y, codes);
}

/// Where rays whose points in the view's frame are `point(ray)` lie in the view.
template <class Point>
void viewAll(const ViewFormula& shared, const double* rays, std::size_t count, float* map_x,
             float* map_y, const Point& point) {
  const ViewFormula view = shared;
  forGroups(count, [&](std::size_t i, auto valid) {
    const Triple p = point(view, loadPair(rays + 2 * i, 2, 1, valid));
    const Lanes u = view.fx * p.x + view.cx - 0.5;
    const Lanes v = view.fy * p.y + view.cy - 0.5;
    const Mask seen = both(p.z > 0, inFloatRange(u, v));
    storeRow(select(seen, u, Lanes(kNoNumber)), valid, map_x + i);
    storeRow(select(seen, v, Lanes(kNoNumber)), valid, map_y + i);
  });
}

NORV_ONE_LOOP inline void viewRow(const ViewFormula& formula, const double* rays, std::size_t count,
                                  float* map_x, float* map_y) {
  if (formula.is_straight) {
    return viewAll(formula, rays, count, map_x, map_y, [](const ViewFormula&, const Pair& ray) {
      return Triple{ray.x, ray.y, 1};
    });
  }
  viewAll(formula, rays, count, map_x, map_y, [](const ViewFormula& view, const Pair& ray) {
    const auto& r = view.rotation;
    const Lanes z = r[2][0] * ray.x + r[2][1] * ray.y + r[2][2];
    return Triple{(r[0][0] * ray.x + r[0][1] * ray.y + r[0][2]) / z,
                  (r[1][0] * ray.x + r[1][1] * ray.y + r[1][2]) / z, z};
  });
}

NORV_ONE_LOOP inline void toFixedPoint(const float* map_x, const float* map_y, std::size_t count,
                                       std::int16_t* xy, std::uint16_t* fraction) {
  std::size_t i = 0;
  for (; i + kPlaces <= count; i += kPlaces) {
    storePlaces(map_x + i, map_y + i, xy + 2 * i, fraction + i);
  }
  if (i == count) return;
  float x[kPlaces] = {};
  float y[kPlaces] = {};
  std::int16_t xy_of_last[2 * kPlaces];
  std::uint16_t fraction_of_last[kPlaces];
  const std::size_t rest = count - i;
  __builtin_memcpy(x, map_x + i, rest * sizeof(float));
  __builtin_memcpy(y, map_y + i, rest * sizeof(float));
  storePlaces(x, y, xy_of_last, fraction_of_last);
  __builtin_memcpy(xy + 2 * i, xy_of_last, rest * 2 * sizeof(std::int16_t));
  __builtin_memcpy(fraction + i, fraction_of_last, rest * sizeof(std::uint16_t));
}

constexpr Kernels kernelsNamed(const char* name) {
  return {name,    project,       projectUnchecked,       projectionJacobians,
          rectify, rectifyFloats, rectificationJacobians, rectifyRow,
          viewRow, toFixedPoint};
}

}  // namespace norv::internal::NORV_KERNELS
