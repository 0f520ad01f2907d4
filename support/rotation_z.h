#pragma once

/// The rotation of a joint about its axis. Conventions: docs/conventions.md.

#include "export.h"
#include "matrix_types.h"

namespace norv {

/// Rotation by `angle` radians about the z axis, counter-clockwise seen from +z, without
/// translation: rows (c, -s, 0, 0), (s, c, 0, 0), (0, 0, 1, 0), (0, 0, 0, 1) with c = cos angle and
/// s = sin angle in single precision. The inverse is `rotationZTransf(-angle)`.
NORV_EXPORT Matrix4x4_f rotationZTransf(float angle);

}  // namespace norv
