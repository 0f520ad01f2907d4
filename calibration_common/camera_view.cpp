#include "calibration_common/camera_view.h"

#include <Eigen/Geometry>
#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>
#include <utility>

#include "calibration_common/view_record.h"
#include "support/camera/jacobian_access.h"
#include "support/camera/jacobian_formulas.h"
#include "support/camera/parallel.h"
#include "support/camera/point_batches.h"
#include "support/camera/point_formulas.h"
#include "support/camera/point_solver.h"

namespace norv::calibration {

using internal::Point3;
using internal::PointAnswer;
using internal::PointSolver;
using internal::PreparedCamera;
using internal::ViewRecord;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
/// Points whose derivatives are kept at once: they stay in the first-level cache.
constexpr std::size_t kChunk = 64;
/// Points with derivatives for which a thread is worth its while.
constexpr std::size_t kPointsOfThread = 16 * kChunk;

Point3<double> toCamera(const ViewRecord& record, const Point3<double>& point) {
  return internal::transformed(record.camera_from_parent, point);
}

/// The derivatives of a view at a point of the camera frame.
void convert(const ViewRecord& record, const ProjectionJacobian& jacobian,
             const Point3<double>& in_camera, ViewJacobian* view) {
  const auto& m = record.camera_from_parent.at;
  for (int row = 0; row < 2; ++row) {
    const double x = jacobian.point(row, 0);
    const double y = jacobian.point(row, 1);
    const double z = jacobian.point(row, 2);
    for (int c = 0; c < 3; ++c) view->point(row, c) = x * m[0][c] + y * m[1][c] + z * m[2][c];
  }
  view->pose = byPose(jacobian, {in_camera.x, in_camera.y, in_camera.z});
  view->intrinsics = jacobian.intrinsics;
}

/// Up to `kChunk` points with their derivatives; how many are not `kOk`.
std::size_t projectChunk(const ViewRecord& record, const PointArray<const double>& points,
                         std::size_t begin, std::size_t count, const PointArray<double>& pixels,
                         const ViewExtras& extras) {
  std::array<double, 3 * kChunk> given;  // the pixels may take their place
  for (std::size_t i = 0; i < count; ++i) {
    double* const copy = &given[3 * i];
    for (int c = 0; c < 3; ++c) copy[c] = points.at(begin + i, c);
  }
  std::array<ProjectionJacobian, kChunk> jacobians;
  PointStatus* const statuses = extras.statuses == nullptr ? nullptr : extras.statuses + begin;
  const std::size_t not_ok =
      internal::projectBatch(record.projecting, &record.camera_from_parent, {given.data(), 3},
                             count, {&pixels.at(begin, 0), pixels.stride, pixels.coordinate_stride},
                             {statuses, jacobians.data()}, 1);
  for (std::size_t i = 0; i < count; ++i) {
    const double* const p = &given[3 * i];
    convert(record, jacobians[i], toCamera(record, {p[0], p[1], p[2]}),
            extras.jacobians + begin + i);
  }
  return not_ok;
}

/// `project` where the lens or the picture leaves something open. Not inlined, which makes
/// `project` itself a fifth faster.
[[gnu::noinline]] PointStatus projectBySolver(const ViewRecord& record,
                                              const Eigen::Vector3d& point,
                                              Eigen::Vector2d* pixel) {
  const PointAnswer answer =
      PointSolver(record.projecting)
          .project(&record.camera_from_parent, {point.x(), point.y(), point.z()});
  *pixel = {answer.x, answer.y};
  return answer.status;
}

/// `project` without derivatives.
inline PointStatus projectOne(const ViewRecord& record, const Eigen::Vector3d& point,
                              Eigen::Vector2d* pixel) {
  double u;
  double v;
  if (!record.plain.see(point.x(), point.y(), point.z(), &u, &v)) {
    return projectBySolver(record, point, pixel);
  }
  *pixel = {u, v};
  return PointStatus::kOk;
}

[[gnu::noinline]] PointStatus projectWithJacobian(const ViewRecord& record,
                                                  const Eigen::Vector3d& point,
                                                  Eigen::Vector2d* pixel, ViewJacobian* view) {
  const Point3<double> in_camera = toCamera(record, {point.x(), point.y(), point.z()});
  const PointStatus status = projectOne(record, point, pixel);
  ProjectionJacobian jacobian;
  internal::projectionJacobian(record.camera.model, in_camera, internal::numbersOf(&jacobian));
  if (!hasAnswer(status)) internal::setNaN(&jacobian);
  convert(record, jacobian, in_camera, view);
  return status;
}

/// `rectifyPixel`; what plain Newton steps leave open is seldom.
PointAnswer rectifyOne(const PreparedCamera& camera, const Eigen::Vector2d& pixel) {
  const auto quick = internal::rectified(camera, pixel.x(), pixel.y());
  if (quick.code == internal::kUndecided) {
    return PointSolver(camera).rectify(pixel.x(), pixel.y());
  }
  return {quick.x, quick.y, static_cast<PointStatus>(quick.code)};
}

/// NaN, for the reason of `status`.
PointStatus clear(PointStatus status, Ray* ray) {
  ray->origin.setConstant(kNaN);
  ray->direction.setConstant(kNaN);
  return status;
}

/// Angle between the rays of two pixels; NaN where one has none.
double angleBetween(const PreparedCamera& camera, const Eigen::Vector2d& a,
                    const Eigen::Vector2d& b) {
  const PointAnswer point_a = rectifyOne(camera, a);
  const PointAnswer point_b = rectifyOne(camera, b);
  const Eigen::Vector3d ray_a(point_a.x, point_a.y, 1);
  const Eigen::Vector3d ray_b(point_b.x, point_b.y, 1);
  return std::atan2(ray_a.cross(ray_b).norm(), ray_a.dot(ray_b));
}

}  // namespace

// Copied and not moved from, so that there always is a record.
CameraView::CameraView(const CameraView&) = default;
CameraView& CameraView::operator=(const CameraView&) = default;
CameraView::~CameraView() = default;

CameraView::CameraView(const CameraModel& model, const CameraTransform& camera_from_parent)
    : record_(
          std::make_shared<const ViewRecord>(model, camera_from_parent, internal::ViewSource())) {}

CameraView::CameraView(std::shared_ptr<const ViewRecord> record) : record_(std::move(record)) {}

const CameraModel& CameraView::model() const { return record_->camera.model; }
int CameraView::width() const { return model().width; }
int CameraView::height() const { return model().height; }
const CameraTransform& CameraView::pose() const { return record_->pose; }
bool CameraView::isRectifiedBySensor() const { return record_->source.is_rectified_by_sensor; }
bool CameraView::isFromTable() const { return record_->source.is_from_table; }
std::array<double, 8> CameraView::distortion() const { return model().lens.toCoefficients(); }

Eigen::Matrix3d CameraView::K(PixelOrigin origin) const { return cameraMatrix(model(), origin); }

PointStatus CameraView::project(const Eigen::Vector3d& point_in_parent, Eigen::Vector2d* pixel,
                                ViewJacobian* jacobian) const {
  if (jacobian == nullptr) return projectOne(*record_, point_in_parent, pixel);
  return projectWithJacobian(*record_, point_in_parent, pixel, jacobian);
}

std::size_t CameraView::projectPoints(const PointArray<const double>& points_in_parent,
                                      std::size_t count, const PointArray<double>& pixels,
                                      const ViewExtras& extras, int threads) const {
  const ViewRecord& record = *record_;
  if (extras.jacobians == nullptr) {
    return internal::projectBatch(record.projecting, &record.camera_from_parent, points_in_parent,
                                  count, pixels, {extras.statuses, nullptr}, threads);
  }
  std::atomic<std::size_t> not_ok{0};
  const auto work = [&](std::size_t begin, std::size_t end) {
    for (; begin < end; begin += kChunk) {
      not_ok += projectChunk(record, points_in_parent, begin, std::min(kChunk, end - begin), pixels,
                             extras);
    }
  };
  if (threads == 1) {
    work(0, count);
  } else {
    internal::inParallel(count, kPointsOfThread, threads, work);
  }
  return not_ok;
}

PointStatus CameraView::rectify(const Eigen::Vector2d& pixel, Eigen::Vector2d* point,
                                RectificationJacobian* jacobian) const {
  const PreparedCamera& camera = record_->camera;
  const PointAnswer answer = rectifyOne(camera, pixel);
  *point = {answer.x, answer.y};
  if (jacobian != nullptr) {
    internal::rectificationJacobian<double>(camera.model, {answer.x, answer.y},
                                            internal::numbersOf(jacobian));
    if (!hasAnswer(answer.status)) internal::setNaN(jacobian);
  }
  return answer.status;
}

std::size_t CameraView::rectifyPoints(const PointArray<const double>& pixels, std::size_t count,
                                      const PointArray<double>& points,
                                      const RectificationExtras& extras, int threads) const {
  return internal::rectifyBatch(record_->camera, pixels, count, points, extras, threads);
}

PointStatus CameraView::rayAt(const Eigen::Vector2d& pixel, Ray* ray) const {
  const ViewRecord& record = *record_;
  const PointAnswer point = rectifyOne(record.camera, pixel);
  // NaN where there is no answer.
  ray->direction = (record.parent_from_camera * Eigen::Vector3d(point.x, point.y, 1)).normalized();
  ray->origin = record.centre;
  if (!hasAnswer(point.status)) return clear(point.status, ray);
  const bool is_finite = ray->direction.allFinite() && ray->origin.allFinite();
  return is_finite ? point.status : clear(PointStatus::kNotFinite, ray);
}

FieldsOfView CameraView::fieldsOfView() const {
  const PreparedCamera& camera = record_->camera;
  const double right = width();
  const double bottom = height();
  return {angleBetween(camera, {0, bottom / 2}, {right, bottom / 2}),
          angleBetween(camera, {right / 2, 0}, {right / 2, bottom}),
          angleBetween(camera, {0, 0}, {right, bottom})};
}

}  // namespace norv::calibration
