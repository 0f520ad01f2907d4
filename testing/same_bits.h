#pragma once

#include <Eigen/Core>
#include <cstdint>
#include <cstring>

namespace norv::testing {

inline std::uint32_t bitsOf(float value) {
  std::uint32_t bits;
  std::memcpy(&bits, &value, sizeof(bits));
  return bits;
}

inline std::uint64_t bitsOf(double value) {
  std::uint64_t bits;
  std::memcpy(&bits, &value, sizeof(bits));
  return bits;
}

/// Whether all elements are the same to the last bit: tells zeros of different sign and NaNs of
/// different payload apart, and takes the same NaN for equal.
template <class Matrix>
bool sameBits(const Matrix& a, const Matrix& b) {
  for (Eigen::Index i = 0; i < a.size(); ++i) {
    if (bitsOf(a.data()[i]) != bitsOf(b.data()[i])) return false;
  }
  return true;
}

}  // namespace norv::testing
