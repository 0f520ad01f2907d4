#pragma once

#include <algorithm>

#include "support/camera/jacobian_formulas.h"
#include "support/point_derivatives.h"

namespace norv::internal {

/// The numbers of a Jacobian in a row, as kernels write them.
inline double* numbersOf(calibration::ProjectionJacobian* jacobian) {
  static_assert(sizeof(*jacobian) == kProjectionNumbers * sizeof(double));
  return jacobian->point.data();
}
inline double* numbersOf(calibration::RectificationJacobian* jacobian) {
  static_assert(sizeof(*jacobian) == kRectificationNumbers * sizeof(double));
  return jacobian->pixel.data();
}

/// What the derivatives of a point without an answer are.
template <class Jacobian>
void setNaN(Jacobian* jacobian) {
  std::fill_n(numbersOf(jacobian), sizeof(Jacobian) / sizeof(double), kNoNumber);
}

}  // namespace norv::internal
