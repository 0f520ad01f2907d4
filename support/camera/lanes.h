#pragma once

/// Several numbers side by side, each computed to the same bits as alone. NORV_LANES says how many,
/// NORV_KERNELS in which namespace: each instruction set has one of its own, since the linker would
/// merge what has the same name (kernels.h). Vector extensions of GCC and Clang.

#include <cstddef>
#include <cstdint>

namespace norv::internal::NORV_KERNELS {

inline constexpr int kLanes = NORV_LANES;

using Doubles = double __attribute__((vector_size(NORV_LANES * sizeof(double))));
using Floats = float __attribute__((vector_size(NORV_LANES * sizeof(float))));
/// All bits of an element are set where a comparison is true.
using Bits = std::int64_t __attribute__((vector_size(NORV_LANES * sizeof(std::int64_t))));

struct Mask {
  Bits v;
};

struct Lanes {
  Lanes() = default;
  Lanes(double x) : v(x - Doubles{}) {}  // NOLINT(google-explicit-constructor): mixed formulas
  explicit Lanes(Doubles all) : v(all) {}

  friend Lanes operator+(const Lanes& a, const Lanes& b) { return Lanes(a.v + b.v); }
  friend Lanes operator-(const Lanes& a, const Lanes& b) { return Lanes(a.v - b.v); }
  friend Lanes operator*(const Lanes& a, const Lanes& b) { return Lanes(a.v * b.v); }
  friend Lanes operator/(const Lanes& a, const Lanes& b) { return Lanes(a.v / b.v); }
  friend Lanes operator-(const Lanes& a) { return Lanes(-a.v); }
  friend Mask operator<(const Lanes& a, const Lanes& b) { return {a.v < b.v}; }
  friend Mask operator<=(const Lanes& a, const Lanes& b) { return {a.v <= b.v}; }
  friend Mask operator>(const Lanes& a, const Lanes& b) { return {a.v > b.v}; }
  friend Mask operator>=(const Lanes& a, const Lanes& b) { return {a.v >= b.v}; }
  friend Mask operator==(const Lanes& a, const Lanes& b) { return {a.v == b.v}; }
  friend Mask operator!=(const Lanes& a, const Lanes& b) { return {a.v != b.v}; }

  Doubles v;
};

inline Lanes select(const Mask& condition, const Lanes& yes, const Lanes& no) {
  return Lanes(condition.v ? yes.v : no.v);
}
inline Mask both(const Mask& a, const Mask& b) { return {a.v & b.v}; }
inline Mask either(const Mask& a, const Mask& b) { return {a.v | b.v}; }
inline Mask without(const Mask& a, const Mask& b) { return {a.v & ~b.v}; }

inline bool anyOf(const Mask& mask) {
  std::int64_t any = 0;
  for (int i = 0; i < kLanes; ++i) any |= mask.v[i];
  return any != 0;
}

/// 0, 1, 2, ...
inline Lanes counting() {
  Doubles all{};
  for (int i = 0; i < kLanes; ++i) all[i] = i;
  return Lanes(all);
}

/// Every `stride`-th of the numbers that begin at `first`.
template <class T>
Lanes load(const T* first, std::ptrdiff_t stride) {
  Doubles all{};
  for (int i = 0; i < kLanes; ++i) all[i] = static_cast<double>(first[i * stride]);
  return Lanes(all);
}

/// The inverse of `load`, for the first `count` of the lanes.
template <class T>
void store(const Lanes& lanes, int count, T* first, std::ptrdiff_t stride) {
  for (int i = 0; i < count; ++i) first[i * stride] = static_cast<T>(lanes.v[i]);
}

}  // namespace norv::internal::NORV_KERNELS
