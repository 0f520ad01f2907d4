#include "support/camera_projection.h"

#include <cmath>
#include <limits>

#include "support/camera/kernels.h"
#include "support/camera/point_batches.h"
#include "support/camera/point_formulas.h"
#include "support/camera/prepared_camera.h"
#include "support/lens/lens_inverse.h"
#include "support/lens_distortion.h"
#include "support/numeric/float_range.h"

namespace norv {
namespace {

using internal::Point3;

double number(float value) { return static_cast<double>(value); }

/// The elements are written out: Eigen's conversion of small matrices takes three times as long as
/// the whole projection.
internal::PoseRows poseRows(const Matrix4x4_f& camera_from_parent) {
  const float* const m = camera_from_parent.data();  // row by row
  const auto at = [m](int i) { return number(m[i]); };
  return {
      {{at(0), at(1), at(2), at(3)}, {at(4), at(5), at(6), at(7)}, {at(8), at(9), at(10), at(11)}}};
}

internal::MatrixRows2x3 matrixRows(const Matrix3x3_f& k) {
  return {{{number(k(0, 0)), number(k(0, 1)), number(k(0, 2))},
           {number(k(1, 0)), number(k(1, 1)), number(k(1, 2))}}};
}

calibration::LensDistortion<double> lensOf(const std::vector<float>& distortion) {
  return calibration::lensFromCoefficients<double>(distortion.data(), distortion.size());
}

}  // namespace

[[gnu::flatten]] Vector2_f project3dToCamera(const CameraTransform& pose,
                                             const std::vector<float>& distortion,
                                             const Matrix3x3_f& K, const Vector3_f& point) {
  const Point3<double> given{number(point.x()), number(point.y()), number(point.z())};
  const calibration::NormalizedPoint<double> pixel = internal::uncheckedPixel(
      matrixRows(K), lensOf(distortion), internal::transformed(poseRows(pose.transform), given));
  return {static_cast<float>(pixel.x), static_cast<float>(pixel.y)};
}

void projectPoints(const CameraTransform& pose, const std::vector<float>& distortion,
                   const Matrix3x3_f& K, const Vector3_f* points, std::size_t count,
                   Vector2_f* pixels) {
  if (count == 0) return;
  internal::kernels().projectUnchecked(matrixRows(K), lensOf(distortion), poseRows(pose.transform),
                                       {points->data(), 3}, count, {pixels->data(), 2});
}

namespace calibration {
namespace {

/// The inverse of a camera with a lens, for any number of pixels.
class Rectifier {
 public:
  Rectifier(const float* distortion, const float* principal_point, const float* focal_lengths)
      : cx_(number(principal_point[0])),
        cy_(number(principal_point[1])),
        fx_(number(focal_lengths[0])),
        fy_(number(focal_lengths[1])),
        lens_(lensFromCoefficients<double>(distortion, 8)) {}

  Vector2_f rectify(const Vector2_f& pixel) {
    // An infinite focal length would put every pixel at the centre.
    if (!std::isfinite(fx_) || !std::isfinite(fy_)) return {kNaN, kNaN};
    const NormalizedPoint<double> p =
        lens_.undistort({(number(pixel.x()) - cx_) / fx_, (number(pixel.y()) - cy_) / fy_});
    if (!internal::isInFloatRange(p.x) || !internal::isInFloatRange(p.y)) return {kNaN, kNaN};
    return {static_cast<float>(p.x), static_cast<float>(p.y)};
  }

 private:
  static constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

  double cx_;
  double cy_;
  double fx_;
  double fy_;
  internal::LensInverse lens_;
};

}  // namespace

Vector2_f rectifyPoint(const float* distortion, const float* principal_point,
                       const float* focal_lengths, const Vector2_f& pixel) {
  return Rectifier(distortion, principal_point, focal_lengths).rectify(pixel);
}

void rectifyPoints(const float* distortion, const float* principal_point,
                   const float* focal_lengths, const Vector2_f* pixels, std::size_t count,
                   Vector2_f* points) {
  if (count < internal::kManyPoints) {
    Rectifier rectifier(distortion, principal_point, focal_lengths);
    for (std::size_t i = 0; i < count; ++i) points[i] = rectifier.rectify(pixels[i]);
    return;
  }
  const CameraModel camera{0,
                           0,
                           number(focal_lengths[0]),
                           number(focal_lengths[1]),
                           0,
                           number(principal_point[0]),
                           number(principal_point[1]),
                           lensFromCoefficients<double>(distortion, 8)};
  internal::rectifyFloatBatch(internal::prepareForRectification(camera), {pixels->data(), 2}, count,
                              {points->data(), 2});
}

}  // namespace calibration
}  // namespace norv
