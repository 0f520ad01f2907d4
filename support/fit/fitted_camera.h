#pragma once

#include <Eigen/Core>

#include "support/fit/parameters.h"
#include "support/lens_distortion.h"

namespace norv::internal::fit {

/// Camera, lens and pose in the units of a PlanarView, the principal point about the image centre.
///
/// The rotation is kept as a matrix, so that no orientation is singular. Its unknowns are an
/// increment, zero wherever a derivative is taken.
struct FittedCamera {
  Eigen::Matrix<double, kIntrinsicCount, 1> intrinsics;  ///< in the order of Parameter
  Eigen::Matrix3d rotation;                              ///< camera_from_plane
  Eigen::Vector3d translation;

  calibration::LensDistortion<double> lens() const;

  /// The camera after a step of the unknowns, its rotation orthonormal to rounding.
  FittedCamera moved(const ParameterVector& step) const;

  /// Whether all numbers are finite and both focal lengths above 0.02, a field of 178 degrees.
  bool isPlausible() const;
};

}  // namespace norv::internal::fit
