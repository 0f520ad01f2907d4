#pragma once

namespace norv::internal {

/// Numbers that the processor computes with at once, element by element, each to the same bits as
/// alone. (A vector extension of GCC and Clang; every 64-bit processor in use has such registers.)
using DoublePair = double __attribute__((vector_size(2 * sizeof(double))));
using FloatQuad = float __attribute__((vector_size(4 * sizeof(float))));

}  // namespace norv::internal
