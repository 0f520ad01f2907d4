#include "support/camera_projection.h"

#include <Eigen/Core>
#include <cmath>
#include <limits>

#include "support/lens_distortion.h"
#include "support/lens_inverse.h"

namespace norv {

Vector2_f project3dToCamera(const CameraTransform& pose, const std::vector<float>& distortion,
                            const Matrix3x3_f& K, const Vector3_f& point) {
  const Eigen::Matrix<double, 3, 4> camera_from_parent = pose.transform.topRows<3>().cast<double>();
  const Eigen::Vector3d in_camera =
      camera_from_parent.leftCols<3>() * point.cast<double>() + camera_from_parent.col(3);
  const calibration::LensDistortion<double> lens =
      calibration::lensFromCoefficients<double>(distortion.data(), distortion.size());
  const calibration::NormalizedPoint<double> p = lens.distort(calibration::NormalizedPoint<double>{
      in_camera.x() / in_camera.z(), in_camera.y() / in_camera.z()});
  const Eigen::Vector2d pixel = K.topRows<2>().cast<double>() * Eigen::Vector3d(p.x, p.y, 1);
  return pixel.cast<float>();
}

namespace calibration {

Vector2_f rectifyPoint(const float* distortion, const float* principal_point,
                       const float* focal_lengths, const Vector2_f& pixel) {
  constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
  constexpr auto kLargest = static_cast<double>(std::numeric_limits<float>::max());
  const auto fx = static_cast<double>(focal_lengths[0]);
  const auto fy = static_cast<double>(focal_lengths[1]);
  // An infinite focal length would put every pixel at the centre.
  if (!std::isfinite(fx) || !std::isfinite(fy)) return {kNaN, kNaN};
  const NormalizedPoint<double> distorted{
      (static_cast<double>(pixel.x()) - static_cast<double>(principal_point[0])) / fx,
      (static_cast<double>(pixel.y()) - static_cast<double>(principal_point[1])) / fy};
  LensInverse lens(lensFromCoefficients<double>(distortion, 8));
  const NormalizedPoint<double> p = lens.undistort(distorted);
  // False for NaN too.
  if (!(std::abs(p.x) <= kLargest && std::abs(p.y) <= kLargest)) return {kNaN, kNaN};
  return {static_cast<float>(p.x), static_cast<float>(p.y)};
}

}  // namespace calibration
}  // namespace norv
