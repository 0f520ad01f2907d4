#include "support/point_projection.h"

#include "support/camera/jacobian_access.h"
#include "support/camera/jacobian_formulas.h"
#include "support/camera/point_batches.h"
#include "support/camera/point_solver.h"
#include "support/camera/prepared_camera.h"

namespace norv::calibration {

using internal::numbersOf;

PointStatus projectPoint(const CameraModel& camera, const Eigen::Vector3d& point_in_camera,
                         Eigen::Vector2d* pixel, ProjectionJacobian* jacobian) {
  const internal::PreparedCamera prepared = internal::unprepared(camera);
  const internal::Point3<double> p{point_in_camera.x(), point_in_camera.y(), point_in_camera.z()};
  const internal::PointAnswer answer = internal::PointSolver(prepared).project(nullptr, p);
  *pixel = {answer.x, answer.y};
  if (jacobian != nullptr) {
    internal::projectionJacobian(camera, p, numbersOf(jacobian));
    if (!hasAnswer(answer.status)) internal::setNaN(jacobian);
  }
  return answer.status;
}

PointStatus rectifyPixel(const CameraModel& camera, const Eigen::Vector2d& pixel,
                         Eigen::Vector2d* ray, RectificationJacobian* jacobian) {
  const internal::PreparedCamera prepared = internal::unprepared(camera);
  const internal::PointAnswer answer =
      internal::PointSolver(prepared).rectify(pixel.x(), pixel.y());
  *ray = {answer.x, answer.y};
  if (jacobian != nullptr) {
    const NormalizedPoint<double> at{answer.x, answer.y};
    internal::rectificationJacobian(camera, at, numbersOf(jacobian));
    if (!hasAnswer(answer.status)) internal::setNaN(jacobian);
  }
  return answer.status;
}

std::size_t projectPoints(const CameraModel& camera,
                          const PointArray<const double>& points_in_camera, std::size_t count,
                          const PointArray<double>& pixels, const ProjectionExtras& extras,
                          int threads) {
  const bool many = count >= internal::kManyPoints;
  return internal::projectBatch(
      many ? internal::prepareForProjection(camera) : internal::unprepared(camera), nullptr,
      points_in_camera, count, pixels, extras, threads);
}

std::size_t rectifyPoints(const CameraModel& camera, const PointArray<const double>& pixels,
                          std::size_t count, const PointArray<double>& rays,
                          const RectificationExtras& extras, int threads) {
  const bool many = count >= internal::kManyPoints;
  return internal::rectifyBatch(
      many ? internal::prepareForRectification(camera) : internal::unprepared(camera), pixels,
      count, rays, extras, threads);
}

}  // namespace norv::calibration
