#pragma once

/// What becomes of a point, as formulas for one number or for several side by side: `Number` is
/// double or lanes (support/camera/lanes.h). Both compute the same bits. What they cannot tell for
/// cheap they leave open, with the code `kUndecided`.

#include "support/camera/prepared_camera.h"
#include "support/camera_model.h"
#include "support/lens/newton_step.h"
#include "support/lens_distortion.h"
#include "support/numeric/select.h"

namespace norv::internal {

/// The values of `PointStatus` as numbers, so that they are chosen as numbers are.
inline constexpr auto kOk = static_cast<double>(calibration::PointStatus::kOk);
inline constexpr auto kBehindCamera = static_cast<double>(calibration::PointStatus::kBehindCamera);
inline constexpr auto kBeyondLens = static_cast<double>(calibration::PointStatus::kBeyondLens);
inline constexpr auto kOutsideImage = static_cast<double>(calibration::PointStatus::kOutsideImage);
inline constexpr auto kNotFinite = static_cast<double>(calibration::PointStatus::kNotFinite);
/// What the formulas leave open.
inline constexpr double kUndecided = 255;

// Not by functions of <limits>: kernels must not share any (kernels.h).
inline constexpr double kMostOfFloat = 0x1.fffffep127;
inline constexpr double kNoNumber = __builtin_nan("");

template <class Number>
struct Point3 {
  Number x;
  Number y;
  Number z;
};

template <class Number>
Point3<Number> transformed(const PoseRows& pose, const Point3<Number>& p) {
  const auto row = [&](const double(&m)[4]) { return m[0] * p.x + m[1] * p.y + m[2] * p.z + m[3]; };
  return {row(pose.at[0]), row(pose.at[1]), row(pose.at[2])};
}

/// Two coordinates and the code of what became of the point.
template <class Number>
struct CodedPoint {
  Number x;
  Number y;
  Number code;
};

/// Whether the coordinates are in the range of float; false for NaN.
template <class Number>
auto inFloatRange(const Number& x, const Number& y) {
  return both(both(x <= kMostOfFloat, x >= -kMostOfFloat),
              both(y <= kMostOfFloat, y >= -kMostOfFloat));
}

/// `kOk` or `kOutsideImage`, by where the pixel lies.
template <class Number>
Number placeCode(const calibration::CameraModel& camera, const Number& u, const Number& v) {
  const double width = camera.width;
  const double height = camera.height;
  const auto inside = both(both(u >= 0, u <= width), both(v >= 0, v <= height));
  return select(inside, Number(kOk),
                Number(kOutsideImage));
}

/// Coordinates that are an answer, else NaN. Those of an open question stay.
template <class Number>
CodedPoint<Number> answered(const Number& x, const Number& y, const Number& code) {
  const auto valid = either(either(code == kOk,
                                   code == kOutsideImage),
                            code == kUndecided);
  return {select(valid, x, Number(kNoNumber)), select(valid, y, Number(kNoNumber)), code};
}

/// The pixel of a lens' distorted point, in the order of operations of `project3dToCamera`.
template <class Number>
calibration::NormalizedPoint<Number> toPixel(const calibration::CameraModel& camera,
                                             const calibration::NormalizedPoint<Number>& p) {
  return {camera.fx * p.x + camera.skew * p.y + camera.cx, camera.fy * p.y + camera.cy};
}

/// The pixel of a point of the camera frame, without a question asked.
template <class Number>
calibration::NormalizedPoint<Number> pixelOf(const calibration::CameraModel& camera,
                                             const Point3<Number>& p) {
  return toPixel(camera, camera.lens.distort(
                             calibration::NormalizedPoint<Number>{p.x / p.z, p.y / p.z}));
}

/// The pixel of the ray through `ray`, which is finite, with its code; the coordinates are there
/// whatever that says.
template <class Number>
CodedPoint<Number> pixelOfRay(const PreparedCamera& camera,
                              const calibration::NormalizedPoint<Number>& ray) {
  const Number s = ray.x * ray.x + ray.y * ray.y;
  const auto pixel = toPixel(camera.model, camera.model.lens.distort(ray));
  Number code = placeCode(camera.model, pixel.x, pixel.y);
  code = select(inFloatRange(pixel.x, pixel.y), code, Number(kNotFinite));
  code = select(s < camera.certain, code, Number(kUndecided));
  code = select(s >= camera.beyond, Number(kBeyondLens), code);
  return {pixel.x, pixel.y, code};
}

/// `projectPoint` of a point of the camera frame; `zero` is 0 where all that was given is finite.
template <class Number>
CodedPoint<Number> projected(const PreparedCamera& camera, const Point3<Number>& p,
                             const Number& zero) {
  const CodedPoint<Number> pixel = pixelOfRay<Number>(camera, {p.x / p.z, p.y / p.z});
  Number code = select(p.z > 0, pixel.code, Number(kBehindCamera));
  code = select(zero == camera.zero, code, Number(kNotFinite));
  return answered(pixel.x, pixel.y, code);
}

/// Where the lens has to put the ray that is imaged at the pixel (u, v).
template <class Number>
calibration::NormalizedPoint<Number> targetOf(const calibration::CameraModel& camera,
                                              const Number& u, const Number& v) {
  const Number y = (v - camera.cy) / camera.fy;
  return {(u - camera.cx - camera.skew * y) / camera.fx, y};
}

/// `rectifyPixel` where plain Newton steps settle, else `kUndecided`.
template <class Number>
CodedPoint<Number> rectified(const PreparedCamera& camera, const Number& u, const Number& v) {
  const calibration::LensDistortion<double>& lens = camera.model.lens;
  const auto target = targetOf(camera.model, u, v);
  const Number bound = NewtonStart::errorBound(target);
  auto p = camera.start.at(lens, target);
  auto open = p.x == p.x;  // what is still to settle; NaN never does
  auto settled = without(open, open);
  for (int i = 0; i < NewtonStart::kQuickSteps; ++i) {
    const LensNewtonStep<Number> at(lens, p, target);
    open = both(open, at.regular());
    const auto close = both(open, at.closerThan(bound));
    settled = either(settled, both(close, at.squaredRadius() <= camera.quick));
    open = without(open, close);
    if (!anyOf(open)) break;
    const auto next = at.next(1);
    p = {select(open, next.x, p.x), select(open, next.y, p.y)};
  }
  settled = both(settled, inFloatRange(p.x, p.y));
  return answered(p.x, p.y, select(settled, placeCode(camera.model, u, v), Number(kUndecided)));
}

}  // namespace norv::internal
