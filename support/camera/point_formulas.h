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
inline constexpr double kMostOfDouble = 0x1.fffffffffffffp1023;
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

/// Whether the pixel lies in the image; false for NaN.
template <class Number>
auto insideImage(const PreparedCamera& camera, const Number& u, const Number& v) {
  return both(both(u >= 0, u <= camera.width), both(v >= 0, v <= camera.height));
}

/// `kOk` or `kOutsideImage`, by where the pixel lies.
template <class Number>
Number placeCode(const PreparedCamera& camera, const Number& u, const Number& v) {
  return select(insideImage(camera, u, v), Number(kOk), Number(kOutsideImage));
}

/// Coordinates that are an answer, else NaN. Those of an open question stay.
template <class Number>
CodedPoint<Number> answered(const Number& x, const Number& y, const Number& code) {
  const auto valid = either(either(code == kOk, code == kOutsideImage), code == kUndecided);
  return {select(valid, x, Number(kNoNumber)), select(valid, y, Number(kNoNumber)), code};
}

/// The pixel of a lens' distorted point, in the order of operations of `project3dToCamera`.
template <class Number>
calibration::NormalizedPoint<Number> toPixel(const calibration::CameraModel& camera,
                                             const calibration::NormalizedPoint<Number>& p) {
  return {camera.fx * p.x + camera.skew * p.y + camera.cx, camera.fy * p.y + camera.cy};
}

/// The top two rows of a camera matrix, whatever they hold.
struct MatrixRows2x3 {
  double at[2][3];
};

/// The pixel of a point of the camera frame, without a question asked.
template <class Number>
calibration::NormalizedPoint<Number> uncheckedPixel(const MatrixRows2x3& k,
                                                    const calibration::LensDistortion<double>& lens,
                                                    const Point3<Number>& point) {
  const auto p =
      lens.distort(calibration::NormalizedPoint<Number>{point.x / point.z, point.y / point.z});
  const auto row = [&](const double(&m)[3]) { return m[0] * p.x + m[1] * p.y + m[2]; };
  return {row(k.at[0]), row(k.at[1])};
}

template <class Number>
Number radialFactor(const calibration::LensDistortion<double>& lens,
                    const calibration::NormalizedPoint<Number>& ray) {
  const Number s = ray.x * ray.x + ray.y * ray.y;
  return lens.numerator(s) / lens.denominator(s);
}

/// Point of normalised image coordinates with its squared radius and its pixel, without a question
/// asked.
template <class Number>
struct ImagedRay {
  /// `factor` is that of the radial map, `radialFactor`.
  ImagedRay(const calibration::CameraModel& camera, const calibration::NormalizedPoint<Number>& ray,
            const Number& factor)
      : s(ray.x * ray.x + ray.y * ray.y),
        pixel(toPixel(camera, camera.lens.distort(ray, factor))) {}

  Number s;
  calibration::NormalizedPoint<Number> pixel;
};

/// Whether a depth is before the camera, and not infinite.
template <class Number>
auto isDepth(const Number& z) {
  return both(z > 0, z <= kMostOfDouble);
}

/// What became of a point of depth `z` that was given as `given` in some frame.
template <class Number>
CodedPoint<Number> coded(const PreparedCamera& camera, const Number& z, const Point3<Number>& given,
                         const ImagedRay<Number>& at) {
  const Number zero = 0 * given.x + 0 * given.y + 0 * given.z;
  Number code = placeCode(camera, at.pixel.x, at.pixel.y);
  code = select(inFloatRange(at.pixel.x, at.pixel.y), code, Number(kNotFinite));
  code = select(at.s < camera.certain, code, Number(kUndecided));
  code = select(at.s >= camera.beyond, Number(kBeyondLens), code);
  code = select(z > 0, code, Number(kBehindCamera));
  code = select(zero == camera.zero, code, Number(kNotFinite));
  return answered(at.pixel.x, at.pixel.y, code);
}

/// What is mostly so of a point of depth `z`, asked in a few comparisons: that it is `kOk`.
/// Infinite coordinates give infinite or NaN ones, or an infinite depth.
template <class Number>
auto isPlain(const PreparedCamera& camera, const Number& z, const ImagedRay<Number>& at) {
  return both(both(at.s < camera.certain, isDepth(z)), insideImage(camera, at.pixel.x, at.pixel.y));
}

/// `projectPoint` of a point of depth `z` that was given as `given()` in some frame.
template <class Number, class Given>
CodedPoint<Number> projected(const PreparedCamera& camera, const Number& z,
                             const ImagedRay<Number>& at, const Given& given) {
  if (allOf(isPlain(camera, z, at))) return {at.pixel.x, at.pixel.y, Number(kOk)};
  return coded(camera, z, given(), at);
}

/// `projectPoint` of a point of the ray `ray` where it does not matter whether the pixel lies in
/// the image: the code of one that does not may be `kOk`.
template <class Number>
CodedPoint<Number> placed(const PreparedCamera& camera, const Number& z,
                          const calibration::NormalizedPoint<Number>& ray,
                          const ImagedRay<Number>& at) {
  const auto plain = both(both(at.s < camera.certain, isDepth(z)),
                          absolute(at.pixel.x) + absolute(at.pixel.y) <= kMostOfFloat);
  if (allOf(plain)) return {at.pixel.x, at.pixel.y, Number(kOk)};
  return coded(camera, z, {ray.x, ray.y, z}, at);
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
  return answered(p.x, p.y, select(settled, placeCode(camera, u, v), Number(kUndecided)));
}

}  // namespace norv::internal
