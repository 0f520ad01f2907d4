#include "calibration_common/diff/image_camera.h"

#include "calibration_common/intrinsics_model.h"
#include "support/camera/point_solver.h"

namespace norv::internal::diff {

ImageCamera::ImageCamera(const calibration::CameraParameters::Intrinsics& intrinsics)
    : camera_(prepare(modelOf(intrinsics))) {}

std::optional<Eigen::Vector3d> ImageCamera::rayAt(const Eigen::Vector2d& pixel) const {
  const PointAnswer ray = PointSolver(camera_).rectify(pixel.x(), pixel.y());
  if (!calibration::hasAnswer(ray.status)) return std::nullopt;
  return Eigen::Vector3d(ray.x, ray.y, 1);
}

std::optional<Eigen::Vector2d> ImageCamera::pixelOf(const Eigen::Vector3d& point) const {
  const PointAnswer pixel =
      PointSolver(camera_).project(nullptr, {point.x(), point.y(), point.z()});
  if (!calibration::hasAnswer(pixel.status)) return std::nullopt;
  return Eigen::Vector2d(pixel.x, pixel.y);
}

}  // namespace norv::internal::diff
