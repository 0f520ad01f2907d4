#pragma once

/// Projection of points of the camera frame and its inverse, with skew, a status for each point and
/// derivatives. Units, frames, pixel origin: docs/conventions.md.
///
/// Every answer is computed in double and depends on the camera and the point alone: one by one or
/// in a batch, by one thread or by many, on any processor, it is the same to the last bit. Rounded
/// to float it is that of `norv::project3dToCamera` and `rectifyPoint`, where those answer and the
/// camera matrix has no skew.

#include <Eigen/Core>
#include <cstddef>

#include "camera_model.h"
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

/// Pixel at which the camera sees a point of the camera frame (metres, or any unit of length): the
/// formula of `norv::project3dToCamera` with skew,
///
///     u = fx x_d + skew y_d + cx,   v = fy y_d + cy.
///
/// `*pixel` is NaN unless the status is `kOk` or `kOutsideImage`; so is `*jacobian`, which may be
/// null. What lies beyond the first branch of the lens has the status `kBeyondLens`: `rectifyPixel`
/// gives no such ray. Finds the end of the branch anew for each point where simple bounds leave it
/// open; for many points of one camera there are `projectPoints` and `CameraView`.
///
/// The inverse, up to depth, is `rectifyPixel`. Thread-safe; allocates nothing.
NORV_EXPORT PointStatus projectPoint(const CameraModel& camera,
                                     const Eigen::Vector3d& point_in_camera, Eigen::Vector2d* pixel,
                                     ProjectionJacobian* jacobian = nullptr);

/// Undistorted point (x/z, y/z) of the ray that the camera images at `pixel`: that of
/// `calibration::rectifyPoint`, with the skew undone as well.
///
/// `*ray` is NaN unless the status is `kOk` or `kOutsideImage`; so is `*jacobian`, which may be
/// null. `kBeyondLens` says that no ray of the first branch is imaged there. The Jacobian is the
/// inverse of that of the projection; by the intrinsics it is minus that inverse times the
/// projection's.
///
/// project(rectify(pixel)) is the pixel to 1e-9 pixels for every 1000 pixels of focal length, and
/// r_d, its distance from the principal point in focal lengths, where that exceeds 1. The inverse
/// is `projectPoint`. Thread-safe; allocates nothing.
NORV_EXPORT PointStatus rectifyPixel(const CameraModel& camera, const Eigen::Vector2d& pixel,
                                     Eigen::Vector2d* ray,
                                     RectificationJacobian* jacobian = nullptr);

/// Where a batch puts what it has to say beside its points, `count` of each; null where it is not
/// wanted.
struct ProjectionExtras {
  PointStatus* statuses = nullptr;
  ProjectionJacobian* jacobians = nullptr;
};
struct RectificationExtras {
  PointStatus* statuses = nullptr;
  RectificationJacobian* jacobians = nullptr;
};

/// `projectPoint` for `count` points; the number of those that are not `kOk`.
///
/// `pixels` may be `points_in_camera` where the arrays have the same place and strides. `threads`
/// is how many compute at once, 0 as many as the machine runs; where the system refuses one, fewer
/// do. Allocates nothing per point. Thread-safe for arrays that nobody else uses.
NORV_EXPORT std::size_t projectPoints(const CameraModel& camera,
                                      const PointArray<const double>& points_in_camera,
                                      std::size_t count, const PointArray<double>& pixels,
                                      const ProjectionExtras& extras = {}, int threads = 1);

/// `rectifyPixel` for `count` pixels, as `projectPoints` does it for points.
NORV_EXPORT std::size_t rectifyPoints(const CameraModel& camera,
                                      const PointArray<const double>& pixels, std::size_t count,
                                      const PointArray<double>& rays,
                                      const RectificationExtras& extras = {}, int threads = 1);

/// Derivative of the pixel by the camera's pose, 2 x 6: for
/// camera_from_parent' = exp(xi) camera_from_parent with xi = (translation, rotation), both in the
/// camera frame, it is `jacobian.point` [1, -[p]x] with p the point in the camera frame, for which
/// `jacobian` was computed. Thread-safe.
NORV_EXPORT DerivativeRows<6> byPose(const ProjectionJacobian& jacobian,
                                     const Eigen::Vector3d& point_in_camera);

}  // namespace norv::calibration
