#pragma once

/// Image warps that a camera's sensor applies before it delivers a picture.
/// Units, frames, pixel origin: docs/conventions.md.

#include <memory>
#include <vector>

#include "export.h"
#include "matrix_types.h"

namespace norv::internal {
class SensorWarp;
}  // namespace norv::internal

namespace norv::calibration {

/// A warp of the full sensor frame. Both directions work in the pixel grid of the full frame,
/// whatever size the warped image is delivered at: for a 1280 x 960 sensor, in 0..1280 x 0..960.
class NORV_EXPORT ImageSensorTransform {
 public:
  virtual ~ImageSensorTransform() = default;

  /// Where the warp puts the image point that the sensor sees at pixel `p`.
  virtual Vector2_f transformPoint(const Vector2_f& p) const = 0;

  /// The sensor pixel whose image point the warp puts at `p`; the inverse of `transformPoint`.
  virtual Vector2_f inverseTransformPoint(const Vector2_f& p) const = 0;
};

/// The head camera's image-processing stage: it warps the picture of a wide-angle lens, given as a
/// sampled curve, to that of a pinhole camera.
///
/// With c = (width, height) the centre of the full frame, r the distance of a point from it in
/// full-frame pixels, theta(r) the lens' field angle there and f0 = 1 / theta'(0) its paraxial
/// focal length, a point moves along its ray from c to the radius
///
///     r' = factor * f0 * tan(theta(r)),
///
/// so that the warped image has the focal length factor * f0 on both axes, at full-frame scale.
///
/// The curve is a smooth one through the table, theta = 2 atan(g / 2) with g an odd polynomial of
/// degree 5 (a stereographic lens with small corrections), so that the rounding of the table does
/// not reach the image; where none fits, a monotone cubic. Beyond the last usable radius the map
/// goes on as a straight line, so it is increasing, continuously differentiable and invertible
/// everywhere.
///
/// Immutable; both operations are thread-safe.
class NORV_EXPORT AptinaSTE : public ImageSensorTransform {
 public:
  /// `width` x `height` is the size of the warped output image; the full frame is twice that both
  /// ways. `table1` holds distances from the centre in full-frame pixels and `table2` the lens'
  /// field angles there in degrees.
  ///
  /// The leading part of the tables is used in which both are finite and strictly increasing and
  /// the angle is at most 80 degrees, up to the end of the shorter one; the origin (0, 0) is
  /// implied. With fewer than two usable entries beyond the origin, or a factor that is not finite
  /// and positive, both operations return their argument.
  AptinaSTE(int width, int height, float factor, const std::vector<float>& table1,
            const std::vector<float>& table2);
  AptinaSTE(const AptinaSTE&) = delete;
  AptinaSTE& operator=(const AptinaSTE&) = delete;
  ~AptinaSTE() override;

  /// Computed in double and rounded once; infinite beyond single precision. NaN in both components
  /// where one of `p` is not finite, unless both operations return their argument.
  Vector2_f transformPoint(const Vector2_f& p) const override;
  Vector2_f inverseTransformPoint(const Vector2_f& p) const override;

 private:
  int width_;
  int height_;
  float factor_;
  std::vector<float> table1_;
  std::vector<float> table2_;
  std::unique_ptr<const internal::SensorWarp> warp_;  ///< null where both operations do nothing
};

}  // namespace norv::calibration
