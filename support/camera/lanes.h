#pragma once

/// Several numbers side by side, each computed to the same bits as alone. NORV_LANES says how many,
/// NORV_KERNELS in which namespace: each instruction set has one of its own, since the linker would
/// merge what has the same name (kernels.h). Vector extensions of GCC and Clang.

#include <cstddef>
#include <cstdint>
#include <utility>

#ifdef __AVX512F__
#include <immintrin.h>
#endif

namespace norv::internal::NORV_KERNELS {

inline constexpr int kLanes = NORV_LANES;

using Doubles = double __attribute__((vector_size(NORV_LANES * sizeof(double))));
using Bits = std::int64_t __attribute__((vector_size(NORV_LANES * sizeof(std::int64_t))));
using Floats = float __attribute__((vector_size(NORV_LANES * sizeof(float))));
#if NORV_LANES == 8 && defined(__AVX512DQ__)

/// One bit for each lane, as the processor has them in registers of their own. What compilers make
/// of comparisons of vectors goes back and forth between these and whole vectors.
struct Mask {
  __mmask8 bits;
};

template <int kComparison>
Mask compared(const Doubles& a, const Doubles& b) {
  return {_mm512_cmp_pd_mask(a, b, kComparison)};
}
inline Mask isLess(const Doubles& a, const Doubles& b) { return compared<_CMP_LT_OQ>(a, b); }
inline Mask isAtMost(const Doubles& a, const Doubles& b) { return compared<_CMP_LE_OQ>(a, b); }
inline Mask isEqual(const Doubles& a, const Doubles& b) { return compared<_CMP_EQ_OQ>(a, b); }
inline Doubles select(const Mask& condition, const Doubles& yes, const Doubles& no) {
  return _mm512_mask_blend_pd(condition.bits, no, yes);
}
inline Mask both(const Mask& a, const Mask& b) { return {static_cast<__mmask8>(a.bits & b.bits)}; }
inline Mask either(const Mask& a, const Mask& b) {
  return {static_cast<__mmask8>(a.bits | b.bits)};
}
inline Mask without(const Mask& a, const Mask& b) {
  return {static_cast<__mmask8>(a.bits & ~b.bits)};
}
inline unsigned bitsOf(const Mask& mask) { return mask.bits; }

#else

/// All bits of an element are set where a comparison is true.
struct Mask {
  Bits v;
};

inline Mask isLess(const Doubles& a, const Doubles& b) { return {a < b}; }
inline Mask isAtMost(const Doubles& a, const Doubles& b) { return {a <= b}; }
inline Mask isEqual(const Doubles& a, const Doubles& b) { return {a == b}; }
inline Doubles select(const Mask& condition, const Doubles& yes, const Doubles& no) {
  return condition.v ? yes : no;
}
inline Mask both(const Mask& a, const Mask& b) { return {a.v & b.v}; }
inline Mask either(const Mask& a, const Mask& b) { return {a.v | b.v}; }
inline Mask without(const Mask& a, const Mask& b) { return {a.v & ~b.v}; }

/// One bit for each lane.
inline unsigned bitsOf(const Mask& mask) {
#if defined(__AVX__) && NORV_LANES == 4
  return static_cast<unsigned>(__builtin_ia32_movmskpd256(reinterpret_cast<Doubles>(mask.v)));
#elif defined(__SSE2__) && NORV_LANES == 2
  return static_cast<unsigned>(__builtin_ia32_movmskpd(reinterpret_cast<Doubles>(mask.v)));
#else
  unsigned bits = 0;
  for (int i = 0; i < kLanes; ++i) bits |= (mask.v[i] != 0 ? 1U : 0U) << i;
  return bits;
#endif
}

#endif

inline bool anyOf(const Mask& mask) { return bitsOf(mask) != 0; }
inline bool allOf(const Mask& mask) { return bitsOf(mask) == (1U << NORV_LANES) - 1; }

struct Lanes {
  Lanes() = default;
  Lanes(double x) : v(x - Doubles{}) {}  // NOLINT(google-explicit-constructor): mixed formulas
  explicit Lanes(Doubles all) : v(all) {}

  friend Lanes operator+(const Lanes& a, const Lanes& b) { return Lanes(a.v + b.v); }
  friend Lanes operator-(const Lanes& a, const Lanes& b) { return Lanes(a.v - b.v); }
  friend Lanes operator*(const Lanes& a, const Lanes& b) { return Lanes(a.v * b.v); }
  friend Lanes operator/(const Lanes& a, const Lanes& b) { return Lanes(a.v / b.v); }
  friend Lanes operator-(const Lanes& a) { return Lanes(-a.v); }
  friend Mask operator<(const Lanes& a, const Lanes& b) { return isLess(a.v, b.v); }
  friend Mask operator<=(const Lanes& a, const Lanes& b) { return isAtMost(a.v, b.v); }
  friend Mask operator>(const Lanes& a, const Lanes& b) { return isLess(b.v, a.v); }
  friend Mask operator>=(const Lanes& a, const Lanes& b) { return isAtMost(b.v, a.v); }
  friend Mask operator==(const Lanes& a, const Lanes& b) { return isEqual(a.v, b.v); }

  Doubles v;
};

inline Lanes select(const Mask& condition, const Lanes& yes, const Lanes& no) {
  return Lanes(select(condition, yes.v, no.v));
}
inline Lanes absolute(const Lanes& x) {
  return Lanes(reinterpret_cast<Doubles>(reinterpret_cast<Bits>(x.v) & INT64_MAX));
}

using AllIndices = std::make_index_sequence<NORV_LANES>;

// Elements are spelled one by one: a loop over them would go through memory.
template <std::size_t... kIndices>
Lanes countFromZero(std::index_sequence<kIndices...> /*indices*/) {
  return Lanes(Doubles{static_cast<double>(kIndices)...});
}

/// 0, 1, 2, ...
inline Lanes counting() { return countFromZero(AllIndices{}); }

/// The lanes of a group that hold points: all of them, as a constant, or an int for the last group.
/// `std::integral_constant` would be shared with other files.
struct AllLanes {
  constexpr operator int() const { return NORV_LANES; }  // NOLINT(google-explicit-constructor)
};

}  // namespace norv::internal::NORV_KERNELS
