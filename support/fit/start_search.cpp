#include "support/fit/start_search.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "support/fit/plane_pose.h"
#include "support/fit/priors.h"
#include "support/numeric/angles.h"
#include "support/numeric/infinity.h"

namespace norv::internal::fit {
namespace {

constexpr int kFocalLengthCount = 18;
constexpr double kMinFocalLength = 0.35;
constexpr double kMaxFocalLength = 6.0;

constexpr double kMaxObservedAngle = radians(80);
constexpr double kMaxProjectedAngle = radians(88);
constexpr double kMinRadius = 1e-12;

double gridFocalLength(int index) {
  const double ratio = kMaxFocalLength / kMinFocalLength;
  return kMinFocalLength * std::pow(ratio, index / (kFocalLengthCount - 1.0));
}

/// The observed points with the lens undone, (x/z, y/z); false when one is too far off the axis.
bool undoLensFamily(const PlanarView& view, const LensFamily& family, double focal_length,
                    std::vector<Eigen::Vector2d>* rays) {
  rays->clear();
  for (const PointPair& point : view.points) {
    const Eigen::Vector2d observed(point.u, point.v);
    const double radius = observed.norm();
    const double angle = fieldAngle(family, radius / focal_length);
    if (angle > kMaxObservedAngle) return false;
    rays->push_back(observed * (std::tan(angle) / std::max(radius, kMinRadius)));
  }
  return true;
}

/// Mean squared distance, in pixels, of the observed points from those of a camera at `pose`;
/// infinite where a point is not in front of it, or hardly.
double meanSquaredError(const PlanarView& view, const LensFamily& family, double focal_length,
                        const PlanePose& pose) {
  double sum = 0;
  for (const PointPair& point : view.points) {
    const Eigen::Vector3d p = pose.rotation.col(0) * point.plane_x +
                              pose.rotation.col(1) * point.plane_y + pose.translation;
    const double radius = p.head<2>().norm();
    const double angle = std::atan2(radius, p.z());
    if (!(angle <= kMaxProjectedAngle)) return kInfinity;
    const double image_radius = focal_length * imageRadius(family, angle);
    const Eigen::Vector2d projected = p.head<2>() * (image_radius / std::max(radius, kMinRadius));
    sum += (projected - Eigen::Vector2d(point.u, point.v)).squaredNorm();
  }
  return sum * view.pixel_unit * view.pixel_unit / static_cast<double>(view.points.size());
}

FittedCamera makeCamera(const LensFamily& family, double focal_length, const PlanePose& pose) {
  FittedCamera camera;
  camera.intrinsics.setZero();
  camera.intrinsics[kFx] = camera.intrinsics[kFy] = focal_length;
  for (int j = 0; j < 6; ++j) {
    camera.intrinsics[kK1 + j] = family.k[static_cast<std::size_t>(j)];
  }
  camera.rotation = pose.rotation;
  camera.translation = pose.translation;
  return camera;
}

}  // namespace

std::optional<FittedCamera> findStart(const PlanarView& view, const LensFamily& family) {
  std::optional<FittedCamera> best;
  double best_score = kInfinity;
  std::vector<Eigen::Vector2d> rays;
  rays.reserve(view.points.size());
  for (int i = 0; i < kFocalLengthCount; ++i) {
    const double focal_length = gridFocalLength(i);
    if (!undoLensFamily(view, family, focal_length, &rays)) continue;
    const std::optional<PlanePose> pose = poseFromHomography(fitHomography(view.points, rays));
    if (!pose) continue;
    const double unusual = std::log(focal_length / kUsualFocalLength) / kLogFocalLengthDeviation;
    const double score = meanSquaredError(view, family, focal_length, *pose) +
                         unusual * unusual / static_cast<double>(view.points.size());
    if (score < best_score) {
      best_score = score;
      best = makeCamera(family, focal_length, *pose);
    }
  }
  return best;
}

}  // namespace norv::internal::fit
