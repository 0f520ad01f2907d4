#pragma once

/// Fixed-size single-precision matrices that every pose, camera matrix and point of the library is
/// held in. Units and frames: docs/conventions.md.

#include <Eigen/Core>

namespace norv {

/// Homogeneous rigid transform, 4 x 4, row-major: rotation in the upper-left 3 x 3, translation in
/// metres in the last column, (0, 0, 0, 1) as last row. Element (r, c) is row r, column c.
///
/// The type is not over-aligned: Eigen would otherwise align it to 16 or 32 bytes depending on the
/// instruction set that each program is compiled for, and with it the layout of every class that
/// holds a pose would differ between the library and its users.
using Matrix4x4_f = Eigen::Matrix<float, 4, 4, Eigen::RowMajor | Eigen::DontAlign>;

/// Rotations and camera matrices, 3 x 3, row-major.
using Matrix3x3_f = Eigen::Matrix<float, 3, 3, Eigen::RowMajor | Eigen::DontAlign>;

/// Translations and points in space, column vector.
using Vector3_f = Eigen::Matrix<float, 3, 1>;

/// Pixel positions, normalised image coordinates and pan/tilt pairs, column vector.
using Vector2_f = Eigen::Matrix<float, 2, 1>;

static_assert(alignof(Matrix4x4_f) == alignof(float) && sizeof(Matrix4x4_f) == 16 * sizeof(float));
static_assert(alignof(Matrix3x3_f) == alignof(float) && sizeof(Matrix3x3_f) == 9 * sizeof(float));
static_assert(alignof(Vector3_f) == alignof(float) && sizeof(Vector3_f) == 3 * sizeof(float));
static_assert(alignof(Vector2_f) == alignof(float) && sizeof(Vector2_f) == 2 * sizeof(float));

}  // namespace norv
