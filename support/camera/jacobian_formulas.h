#pragma once

/// Derivatives of projection and rectification in closed form. `Number` is double or lanes.

#include "support/camera/point_formulas.h"

namespace norv::internal {

/// What derivatives at a point (x, y) of normalised image coordinates are made of. With s = r^2,
/// g = N / D, g' = dg/ds and w = 2 (p1 y + p2 x) the Jacobian of the lens is
///
///     (g + w) I + 2 g' p p^T + (4 p2 x, 2 (p1 x + p2 y); ., 4 p1 y)
template <class Number>
struct LensSlopes {
  LensSlopes(const calibration::LensDistortion<double>& l,
             const calibration::NormalizedPoint<Number>& at)
      : p(at) {
    s = p.x * p.x + p.y * p.y;
    const auto terms = l.radial(s);
    one_over_d = 1 / terms.denominator;
    g = terms.numerator * one_over_d;
    const Number g1 = (terms.numerator_slope - g * terms.denominator_slope) * one_over_d;
    const Number isotropic = g + 2 * (l.p1 * p.y + l.p2 * p.x);
    xx = isotropic + 2 * g1 * p.x * p.x + 4 * l.p2 * p.x;
    yy = isotropic + 2 * g1 * p.y * p.y + 4 * l.p1 * p.y;
    xy = 2 * g1 * p.x * p.y + 2 * (l.p1 * p.x + l.p2 * p.y);
  }

  calibration::NormalizedPoint<Number> p;
  Number s;
  Number one_over_d;
  Number g;
  Number xx, xy, yy;  ///< Jacobian of the lens, which is symmetric
};

inline constexpr int kIntrinsics = 13;

/// Rows (u, v) of derivatives of a pixel by fx, fy, skew, cx, cy and the eight coefficients.
template <class Number>
void intrinsicsRows(const calibration::CameraModel& camera, const LensSlopes<Number>& at, Number* u,
                    Number* v) {
  const auto distorted = camera.lens.distort(at.p);
  const Number x = at.p.x;
  const Number y = at.p.y;
  const Number s1 = at.s * at.one_over_d;
  const Number s2 = at.s * s1;
  const Number s3 = at.s * s2;
  const Number xy2 = 2 * x * y;
  const Number p1_y = at.s + 2 * y * y;
  const Number p2_x = at.s + 2 * x * x;
  // Derivatives of the distorted point by k1, k2, p1, p2, k3, k4, k5, k6.
  const Number lens_x[] = {x * s1,           x * s2,          xy2, p2_x, x * s3, -(x * at.g) * s1,
                           -(x * at.g) * s2, -(x * at.g) * s3};
  const Number lens_y[] = {y * s1,           y * s2,          p1_y, xy2, y * s3, -(y * at.g) * s1,
                           -(y * at.g) * s2, -(y * at.g) * s3};
  const Number matrix_u[] = {distorted.x, 0, distorted.y, 1, 0};
  const Number matrix_v[] = {0, distorted.y, 0, 0, 1};
  for (int i = 0; i < 5; ++i) {
    u[i] = matrix_u[i];
    v[i] = matrix_v[i];
  }
  for (int i = 0; i < 8; ++i) {
    u[5 + i] = camera.fx * lens_x[i] + camera.skew * lens_y[i];
    v[5 + i] = camera.fy * lens_y[i];
  }
}

/// Numbers of a `ProjectionJacobian`, in its order.
inline constexpr int kProjectionNumbers = 2 * 3 + 2 * kIntrinsics;

/// At a point of the camera frame.
template <class Number>
void projectionJacobian(const calibration::CameraModel& camera, const Point3<Number>& p,
                        Number* out) {
  const Number one_over_z = 1 / p.z;
  const LensSlopes<Number> at(camera.lens, {p.x / p.z, p.y / p.z});
  // The pixel by the point in normalised image coordinates, over the depth.
  const Number ux = (camera.fx * at.xx + camera.skew * at.xy) * one_over_z;
  const Number uy = (camera.fx * at.xy + camera.skew * at.yy) * one_over_z;
  const Number vx = camera.fy * at.xy * one_over_z;
  const Number vy = camera.fy * at.yy * one_over_z;
  out[0] = ux;
  out[1] = uy;
  out[2] = -(ux * at.p.x + uy * at.p.y);
  out[3] = vx;
  out[4] = vy;
  out[5] = -(vx * at.p.x + vy * at.p.y);
  intrinsicsRows(camera, at, out + 6, out + 6 + kIntrinsics);
}

/// Numbers of a `RectificationJacobian`, in its order.
inline constexpr int kRectificationNumbers = 2 * 2 + 2 * kIntrinsics;

/// At the ray's point (x/z, y/z) that is the answer.
template <class Number>
void rectificationJacobian(const calibration::CameraModel& camera,
                           const calibration::NormalizedPoint<Number>& ray, Number* out) {
  const LensSlopes<Number> at(camera.lens, ray);
  const Number a = camera.fx * at.xx + camera.skew * at.xy;
  const Number b = camera.fx * at.xy + camera.skew * at.yy;
  const Number c = camera.fy * at.xy;
  const Number d = camera.fy * at.yy;
  // fx fy det J: of a d - b c the terms with skew cancel.
  const Number one_over_determinant = 1 / (camera.fx * camera.fy * (at.xx * at.yy - at.xy * at.xy));
  out[0] = d * one_over_determinant;
  out[1] = -b * one_over_determinant;
  out[2] = -c * one_over_determinant;
  out[3] = a * one_over_determinant;
  Number u[kIntrinsics];
  Number v[kIntrinsics];
  intrinsicsRows(camera, at, u, v);
  for (int i = 0; i < kIntrinsics; ++i) {
    out[4 + i] = -(out[0] * u[i] + out[1] * v[i]);
    out[4 + kIntrinsics + i] = -(out[2] * u[i] + out[3] * v[i]);
  }
}

}  // namespace norv::internal
