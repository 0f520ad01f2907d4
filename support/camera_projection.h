#pragma once

#include <cstddef>
#include <vector>

#include "camera_transform.h"
#include "export.h"
#include "matrix_types.h"

namespace norv {

/// Pixel at which a camera sees a point: world to camera, perspective division, lens distortion,
/// camera matrix.
///
/// `pose` maps world or robot coordinates (metres) into the camera frame by its forward matrix;
/// `distortion` holds k1, k2, p1, p2, k3, k4, k5, k6 (missing ones count as 0, further ones are
/// ignored; formula: docs/conventions.md); `K` is the camera matrix, whose last row is taken to be
/// (0, 0, 1). Computed in double, rounded once.
///
/// The depth is not checked: a point behind the camera yields the pixel of its mirror image, one in
/// the plane of the optical centre infinite or NaN coordinates. Where `K` has no skew, K(0, 1), the
/// inverse up to depth is `calibration::rectifyPoint`. Thread-safe.
NORV_EXPORT Vector2_f project3dToCamera(const CameraTransform& pose,
                                        const std::vector<float>& distortion, const Matrix3x3_f& K,
                                        const Vector3_f& point);

/// `project3dToCamera` for `count` points at once, with the same pixel for each to the last bit, in
/// about half the time. `pixels` has room for `count`. Thread-safe.
NORV_EXPORT void projectPoints(const CameraTransform& pose, const std::vector<float>& distortion,
                               const Matrix3x3_f& K, const Vector3_f* points, std::size_t count,
                               Vector2_f* pixels);

namespace calibration {

/// Undistorted point (x/z, y/z) in normalised image coordinates of the ray that a camera images at
/// `pixel`; (x/z, y/z, 1) is the viewing direction in the camera frame.
///
/// `distortion` points to 8 coefficients in the order k1, k2, p1, p2, k3, k4, k5, k6,
/// `principal_point` to (cx, cy) and `focal_lengths` to (fx, fy), pixels. A negative focal length
/// is that of a mirrored axis.
///
/// A strong lens model images several rays at one pixel. The answer is the ray of the first branch:
/// where the radial map r_d(r) has risen all the way from the image centre and has met no pole, and
/// where, with tangential terms, the Jacobian of the lens is positive definite all the way too. A
/// pixel that no such ray reaches gives a quiet NaN in both components; so do inputs that are not
/// finite, a focal length of 0, and an answer too large for a float.
///
/// The lens is inverted in double by Newton's iteration, damped where it needs to be, and the
/// answer is rounded once. Before that its residual in distorted normalised coordinates, which are
/// pixels over focal length, is below 1e-12 max(1, r_d): up to r_d = 1 that is 1e-9 pixels for
/// every 1000 pixels of focal length. Rays so close to a pole that they are imaged tens of focal
/// lengths from the centre can miss that mark by rounding, and then give NaN.
///
/// The camera matrix that is undone has no skew. Of a camera whose matrix has one, K(0, 1), the
/// lens is undone at an x_d that is too large by K(0, 1) / fx times y_d = (v - cy) / fy; taking
/// K(0, 1) y_d from the pixel's x first gives the camera's ray.
///
/// Where there is no skew the inverse, up to depth, is `project3dToCamera`. Thread-safe.
NORV_EXPORT Vector2_f rectifyPoint(const float* distortion, const float* principal_point,
                                   const float* focal_lengths, const Vector2_f& pixel);

/// `rectifyPoint` for `count` pixels at once, with the same point for each to the last bit; what
/// the lens alone decides is computed once. `points` has room for `count` and may be `pixels`.
/// Thread-safe.
NORV_EXPORT void rectifyPoints(const float* distortion, const float* principal_point,
                               const float* focal_lengths, const Vector2_f* pixels,
                               std::size_t count, Vector2_f* points);

}  // namespace calibration
}  // namespace norv
