#pragma once

#include <Eigen/Core>

namespace norv::internal::fit {

/// The unknowns of the fit, by their positions in steps, gradients and normal equations.
enum Parameter : int {
  kFx,  ///< focal lengths and principal point, in PlanarView::pixel_unit
  kFy,
  kCx,
  kCy,
  kK1,            ///< to k6: radial distortion, numerator and then denominator
  kP1 = kK1 + 6,  ///< tangential distortion
  kP2,
  kRotation,  ///< vector w of an increment exp([w]) to the rotation from the left, radians
  kTranslation = kRotation + 3,  ///< in PlanarView::plane_unit
  kParameterCount = kTranslation + 3,
};
inline constexpr int kIntrinsicCount = kRotation;

using ParameterVector = Eigen::Matrix<double, kParameterCount, 1>;

}  // namespace norv::internal::fit
