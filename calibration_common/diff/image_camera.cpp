#include "calibration_common/diff/image_camera.h"

namespace norv::internal::diff {

using calibration::NormalizedPoint;

ImageCamera::ImageCamera(const calibration::CameraParameters::Intrinsics& intrinsics)
    : fx_(static_cast<double>(intrinsics.fx)),
      fy_(static_cast<double>(intrinsics.fy)),
      skew_(static_cast<double>(intrinsics.skew)),
      cx_(static_cast<double>(intrinsics.cx)),
      cy_(static_cast<double>(intrinsics.cy)),
      lens_(calibration::lensFromCoefficients<double>(intrinsics.distortion.data(),
                                                      intrinsics.distortion.size())),
      inverse_(lens_) {}

std::optional<Eigen::Vector3d> ImageCamera::rayAt(const Eigen::Vector2d& pixel) {
  // An infinite focal length would put every pixel at the centre.
  if (!std::isfinite(fx_) || !std::isfinite(fy_)) return std::nullopt;
  const double y = (pixel.y() - cy_) / fy_;
  const double x = (pixel.x() - cx_ - skew_ * y) / fx_;
  const NormalizedPoint<double> p = inverse_.undistort({x, y});
  if (!std::isfinite(p.x) || !std::isfinite(p.y)) return std::nullopt;
  return Eigen::Vector3d(p.x, p.y, 1);
}

std::optional<Eigen::Vector2d> ImageCamera::pixelOf(const Eigen::Vector3d& point) {
  if (!(point.z() > 0)) return std::nullopt;
  if (!inverse_.isOnFirstBranch({point.x() / point.z(), point.y() / point.z()})) {
    return std::nullopt;
  }
  const NormalizedPoint<double> pixel = project(point.x(), point.y(), point.z());
  if (!std::isfinite(pixel.x) || !std::isfinite(pixel.y)) return std::nullopt;
  return Eigen::Vector2d(pixel.x, pixel.y);
}

}  // namespace norv::internal::diff
