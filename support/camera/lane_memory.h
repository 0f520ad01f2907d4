#pragma once

/// Points between memory and the lanes of one instruction set (lanes.h). Elements are spelled one
/// by one, as packs of indices: a loop over them would go through memory.

#include <cstddef>
#include <type_traits>
#include <utility>

#include "support/camera/lanes.h"
#include "support/camera/point_formulas.h"
#include "support/point_array.h"

namespace norv::internal::NORV_KERNELS {

template <class T>
using Points = calibration::PointArray<T>;

/// As many numbers as there are lanes.
template <class T>
struct PackOf;
template <>
struct PackOf<float> {
  using type = Floats;
};
template <>
struct PackOf<double> {
  using type = Doubles;
};
template <class T>
using Pack = typename PackOf<std::remove_const_t<T>>::type;

template <class T>
Pack<T> loadPack(const T* first) {
  Pack<T> pack;
  __builtin_memcpy(&pack, first, sizeof(pack));
  return pack;
}

template <class T>
void storePack(const Pack<T>& pack, T* first) {
  __builtin_memcpy(first, &pack, sizeof(pack));
}

inline Lanes toLanes(const Doubles& pack) { return Lanes(pack); }
inline Lanes toLanes(const Floats& pack) { return Lanes(__builtin_convertvector(pack, Doubles)); }

/// Coordinate kCoordinate of points whose kCount coordinates lie side by side in a, b and c.
template <std::size_t kCoordinate, std::size_t kCount, class V, std::size_t... kIndices>
V pick(const V& a, const V& b, const V& c, std::index_sequence<kIndices...> /*indices*/) {
  constexpr std::size_t kTwo = std::size_t{2} * NORV_LANES;
  const auto at = [](std::size_t i) constexpr { return kCount * i + kCoordinate; };
  const V ab =
      __builtin_shufflevector(a, b, (at(kIndices) < kTwo ? static_cast<int>(at(kIndices)) : 0)...);
  return __builtin_shufflevector(
      ab, c,
      (at(kIndices) < kTwo ? static_cast<int>(kIndices)
                           : static_cast<int>(at(kIndices) - NORV_LANES))...);
}

/// a0 b0 a1 b1 and so on, from element kFirst on.
template <std::size_t kFirst, class V, std::size_t... kIndices>
V interleave(const V& a, const V& b, std::index_sequence<kIndices...> /*indices*/) {
  return __builtin_shufflevector(
      a, b, static_cast<int>(kFirst + kIndices / 2 + (kIndices % 2) * NORV_LANES)...);
}

template <class T, std::size_t... kIndices>
Lanes gather(const T* first, std::ptrdiff_t stride, std::index_sequence<kIndices...> /*indices*/) {
  return Lanes(
      Doubles{static_cast<double>(first[static_cast<std::ptrdiff_t>(kIndices) * stride])...});
}

template <class T, std::size_t... kIndices>
void scatter(const Lanes& lanes, T* first, std::ptrdiff_t stride,
             std::index_sequence<kIndices...> /*indices*/) {
  ((first[static_cast<std::ptrdiff_t>(kIndices) * stride] = static_cast<T>(lanes.v[kIndices])),
   ...);
}

/// Every `stride`-th of the numbers that begin at `first`. Lanes without one repeat the last.
template <class T>
Lanes load(const T* first, std::ptrdiff_t stride, AllLanes /*count*/) {
  return gather(first, stride, AllIndices{});
}
template <class T>
Lanes load(const T* first, std::ptrdiff_t stride, int count) {
  Doubles all{};
  for (int i = 0; i < kLanes; ++i) {
    all[i] = static_cast<double>(first[(i < count ? i : count - 1) * stride]);
  }
  return Lanes(all);
}

/// The inverse of `load`.
template <class T>
void store(const Lanes& lanes, AllLanes /*count*/, T* first, std::ptrdiff_t stride) {
  scatter(lanes, first, stride, AllIndices{});
}
template <class T>
void store(const Lanes& lanes, int count, T* first, std::ptrdiff_t stride) {
  for (int i = 0; i < count; ++i) first[i * stride] = static_cast<T>(lanes.v[i]);
}

/// Rounded to float, side by side.
inline void storeRow(const Lanes& lanes, AllLanes /*count*/, float* first) {
  storePack<float>(__builtin_convertvector(lanes.v, Floats), first);
}
inline void storeRow(const Lanes& lanes, int count, float* first) { store(lanes, count, first, 1); }

constexpr bool isAll(AllLanes /*count*/) { return true; }
constexpr bool isAll(int /*count*/) { return false; }

/// The points from `begin` on.
template <class T, class Count>
Point3<Lanes> loadTriple(const Points<T>& points, std::size_t begin, Count count) {
  const std::ptrdiff_t next = points.coordinate_stride;
  const T* const first = points.data + static_cast<std::ptrdiff_t>(begin) * points.stride;
  if (isAll(count) && points.stride == 3 && next == 1) {
    const Pack<T> a = loadPack(first);
    const Pack<T> b = loadPack(first + NORV_LANES);
    const Pack<T> c = loadPack(first + 2 * NORV_LANES);
    return {toLanes(pick<0, 3>(a, b, c, AllIndices{})), toLanes(pick<1, 3>(a, b, c, AllIndices{})),
            toLanes(pick<2, 3>(a, b, c, AllIndices{}))};
  }
  return {load(first, points.stride, count), load(first + next, points.stride, count),
          load(first + 2 * next, points.stride, count)};
}

/// Pairs of numbers `next` apart, every `stride`-th of those that begin at `first`.
template <class T, class Count>
calibration::NormalizedPoint<Lanes> loadPair(const T* first, std::ptrdiff_t stride,
                                             std::ptrdiff_t next, Count count) {
  if (isAll(count) && stride == 2 && next == 1) {
    const Pack<T> a = loadPack(first);
    const Pack<T> b = loadPack(first + NORV_LANES);
    return {toLanes(pick<0, 2>(a, b, b, AllIndices{})), toLanes(pick<1, 2>(a, b, b, AllIndices{}))};
  }
  return {load(first, stride, count), load(first + next, stride, count)};
}

template <class T, class Count>
calibration::NormalizedPoint<Lanes> loadPair(const Points<T>& points, std::size_t begin,
                                             Count count) {
  return loadPair(points.data + static_cast<std::ptrdiff_t>(begin) * points.stride, points.stride,
                  points.coordinate_stride, count);
}

/// The inverse of `loadPair`.
template <class T, class Count>
void storePair(const Lanes& x, const Lanes& y, const Points<T>& points, std::size_t begin,
               Count count) {
  T* const first = points.data + static_cast<std::ptrdiff_t>(begin) * points.stride;
  if (isAll(count) && points.stride == 2 && points.coordinate_stride == 1) {
    const Pack<T> a = __builtin_convertvector(x.v, Pack<T>);
    const Pack<T> b = __builtin_convertvector(y.v, Pack<T>);
    storePack<T>(interleave<0>(a, b, AllIndices{}), first);
    storePack<T>(interleave<NORV_LANES / 2>(a, b, AllIndices{}), first + NORV_LANES);
    return;
  }
  store(x, count, first, points.stride);
  store(y, count, first + points.coordinate_stride, points.stride);
}

}  // namespace norv::internal::NORV_KERNELS
