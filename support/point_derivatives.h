#pragma once

/// Derivatives of projections and of their inverse. Units, frames, pixel origin:
/// docs/conventions.md.

#include <Eigen/Core>

#include "export.h"

namespace norv::calibration {

/// Order of the intrinsics in the columns of Jacobians: fx, fy, skew, cx, cy, k1, k2, p1, p2, k3,
/// k4, k5, k6.
inline constexpr int kIntrinsicsCount = 13;

/// Derivatives have rows (u, v) or (x, y), row by row in memory; not over-aligned, so that their
/// layout does not depend on the instruction set that a user compiles for.
template <int kColumns>
using DerivativeRows = Eigen::Matrix<double, 2, kColumns, Eigen::RowMajor | Eigen::DontAlign>;

/// Derivatives of a pixel, in pixels. NaN where the point has no pixel.
struct ProjectionJacobian {
  DerivativeRows<3> point;                      ///< by the point in the camera frame
  DerivativeRows<kIntrinsicsCount> intrinsics;  ///< by the camera's numbers
};

/// Derivatives of a ray's point (x/z, y/z). Near the end of the lens' branch they grow without
/// bound. NaN where the pixel has no ray.
struct RectificationJacobian {
  DerivativeRows<2> pixel;                      ///< by the pixel
  DerivativeRows<kIntrinsicsCount> intrinsics;  ///< by the camera's numbers
};

/// Derivative of the pixel by the camera's pose, 2 x 6: for
/// camera_from_parent' = exp(xi) camera_from_parent with xi = (translation, rotation), both in the
/// camera frame, it is `jacobian.point` [1, -[p]x] with p the point in the camera frame, for which
/// `jacobian` was computed. Thread-safe.
NORV_EXPORT DerivativeRows<6> byPose(const ProjectionJacobian& jacobian,
                                     const Eigen::Vector3d& point_in_camera);

}  // namespace norv::calibration
