#pragma once

#include <Eigen/Core>

#include "support/matrix_types.h"

namespace norv::internal {

/// A point (x, y, z, 1) or a direction (x, y, z, 0).
using Vector4_f = Eigen::Matrix<float, 4, 1>;

/// The first three of the coordinates.
inline Vector3_f xyz(const Vector4_f& v) { return v.head<3>(); }

}  // namespace norv::internal
