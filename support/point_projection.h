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

#include "batch_extras.h"
#include "camera_model.h"
#include "export.h"
#include "point_array.h"
#include "point_derivatives.h"

namespace norv::calibration {

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

/// `projectPoint` for `count` points; the number of those that are not `kOk`.
///
/// `pixels` may be `points_in_camera` where the arrays have the same place and strides. `threads`
/// is how many compute at once, 256 at most, 0 as many as the machine runs; where the system
/// refuses one, fewer do. Allocates nothing per point. Thread-safe for arrays that nobody else
/// uses.
NORV_EXPORT std::size_t projectPoints(const CameraModel& camera,
                                      const PointArray<const double>& points_in_camera,
                                      std::size_t count, const PointArray<double>& pixels,
                                      const ProjectionExtras& extras = {}, int threads = 1);

/// `rectifyPixel` for `count` pixels, as `projectPoints` does it for points.
NORV_EXPORT std::size_t rectifyPoints(const CameraModel& camera,
                                      const PointArray<const double>& pixels, std::size_t count,
                                      const PointArray<double>& rays,
                                      const RectificationExtras& extras = {}, int threads = 1);

}  // namespace norv::calibration
