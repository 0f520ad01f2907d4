#pragma once

#include <cmath>
#include <cstring>

#include "support/matrix_types.h"

namespace norv::internal {

/// Four numbers that the processor computes with at once, element by element. (A vector extension
/// of GCC and Clang.)
using FloatQuad = float __attribute__((vector_size(4 * sizeof(float))));

/// The same with three numbers; the fourth is of no interest.
using FloatTriple = FloatQuad;

/// A 3 x 3 matrix of these rows.
inline Matrix3x3_f toMatrix(const FloatTriple& row0, const FloatTriple& row1,
                            const FloatTriple& row2) {
  Matrix3x3_f m;
  // Each row overwrites what the one before has too many.
  std::memcpy(m.data(), &row0, sizeof(row0));
  std::memcpy(m.data() + 3, &row1, sizeof(row1));
  std::memcpy(m.data() + 6, &row2, 3 * sizeof(float));
  return m;
}

/// A 4 x 4 matrix in registers, row by row. A chain of products of these takes a third of the time
/// that it takes through matrices in memory.
struct MatrixRows {
  FloatQuad row[4];
};

inline MatrixRows toRows(const Matrix4x4_f& m) {
  MatrixRows rows;
  std::memcpy(rows.row, m.data(), sizeof(rows.row));
  return rows;
}

inline Matrix4x4_f toMatrix(const MatrixRows& rows) {
  Matrix4x4_f m;
  std::memcpy(m.data(), rows.row, sizeof(rows.row));
  return m;
}

/// The product, each element the sum (a0 b0 + a1 b1) + (a2 b2 + a3 b3) in single precision.
inline MatrixRows operator*(const MatrixRows& a, const MatrixRows& b) {
  MatrixRows product;
#pragma GCC unroll 4
  for (int i = 0; i < 4; ++i) {
    const FloatQuad r = a.row[i];
    product.row[i] = (__builtin_shufflevector(r, r, 0, 0, 0, 0) * b.row[0] +
                      __builtin_shufflevector(r, r, 1, 1, 1, 1) * b.row[1]) +
                     (__builtin_shufflevector(r, r, 2, 2, 2, 2) * b.row[2] +
                      __builtin_shufflevector(r, r, 3, 3, 3, 3) * b.row[3]);
  }
  return product;
}

/// `rotationZTransf` of an angle in radians.
inline MatrixRows rotationZRows(float angle) {
  float s;
  float c;
  ::sincosf(angle, &s, &c);
  return {{FloatQuad{c, -s, 0, 0}, FloatQuad{s, c, 0, 0}, FloatQuad{0, 0, 1, 0},
           FloatQuad{0, 0, 0, 1}}};
}

}  // namespace norv::internal
