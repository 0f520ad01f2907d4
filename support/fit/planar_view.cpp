#include "support/fit/planar_view.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <random>

namespace norv::internal::fit {
namespace {

constexpr double kMaxPixel = 1e6;
constexpr double kMinSpread = 1e-3;
/// Half a pixel, that of the smallest image; a box without extent would be no unit of length.
constexpr double kMinHalfSize = 0.5;
constexpr int kMinPoints = 4;
/// With that many distinct points all parameters are fitted, so more need not be told apart.
constexpr std::size_t kDistinctPointsOfInterest = 12;

std::vector<PointPair> usablePairs(const std::vector<Vector2_f>& observed,
                                   const std::vector<Vector2_f>& reference) {
  std::vector<PointPair> pairs;
  const std::size_t count = std::min(observed.size(), reference.size());
  pairs.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    const Eigen::Vector2d pixel = observed[i].cast<double>();
    const Eigen::Vector2d point = reference[i].cast<double>();
    if (!pixel.allFinite() || !point.allFinite()) continue;
    if (pixel.cwiseAbs().maxCoeff() >= kMaxPixel) continue;
    pairs.push_back({pixel.x(), pixel.y(), point.x(), point.y()});
  }
  return pairs;
}

/// A random selection of `count` pairs, in their order and always the same (algorithm S of Knuth,
/// The Art of Computer Programming, vol. 2). Random, since regular steps could hit one column of a
/// grid.
std::vector<PointPair> select(const std::vector<PointPair>& pairs, std::size_t count) {
  std::vector<PointPair> selected;
  selected.reserve(count);
  std::mt19937_64 random(1);
  for (std::size_t i = 0; i < pairs.size() && selected.size() < count; ++i) {
    if (random() % (pairs.size() - i) < count - selected.size()) selected.push_back(pairs[i]);
  }
  return selected;
}

int countDistinctPoints(const std::vector<PointPair>& pairs) {
  std::vector<const PointPair*> distinct;
  for (const PointPair& pair : pairs) {
    if (distinct.size() == kDistinctPointsOfInterest) break;
    const auto same = [&](const PointPair* other) {
      return other->plane_x == pair.plane_x && other->plane_y == pair.plane_y;
    };
    if (std::none_of(distinct.begin(), distinct.end(), same)) distinct.push_back(&pair);
  }
  return static_cast<int>(distinct.size());
}

/// Mean and extent of a list of points.
struct Moments {
  Eigen::Vector2d mean = Eigen::Vector2d::Zero();
  double radius = 0;  ///< root mean square distance from the mean
  double spread = 0;  ///< standard deviation across the points' main direction over that along it
};

template <class GetPoint>
Moments moments(const std::vector<PointPair>& pairs, const GetPoint& point) {
  Moments result;
  const double count = static_cast<double>(pairs.size());
  for (const PointPair& pair : pairs) result.mean += point(pair) / count;
  double xx = 0;
  double xy = 0;
  double yy = 0;
  for (const PointPair& pair : pairs) {
    const Eigen::Vector2d d = point(pair) - result.mean;
    xx += d.x() * d.x() / count;
    xy += d.x() * d.y() / count;
    yy += d.y() * d.y() / count;
  }
  result.radius = std::sqrt(xx + yy);
  // Twice the two variances, the eigenvalues of the covariance matrix.
  const double difference = std::hypot(xx - yy, 2 * xy);
  const double along = xx + yy + difference;
  const double across = std::max(xx + yy - difference, 0.0);
  if (along > 0) result.spread = std::sqrt(across / along);
  return result;
}

Moments imageMoments(const std::vector<PointPair>& pairs) {
  return moments(pairs, [](const PointPair& pair) { return Eigen::Vector2d(pair.u, pair.v); });
}

Moments planeMoments(const std::vector<PointPair>& pairs) {
  return moments(pairs,
                 [](const PointPair& pair) { return Eigen::Vector2d(pair.plane_x, pair.plane_y); });
}

/// Centre and half size of the image, or of the observed points' bounding box where it is unknown.
void setImageFrame(const Eigen::Vector2i& image_size, PlanarView* view) {
  Eigen::Array2d low(0, 0);
  Eigen::Array2d high = image_size.cast<double>();
  if (image_size.minCoeff() <= 0) {
    low = high = {view->points.front().u, view->points.front().v};
    for (const PointPair& pair : view->points) {
      low = low.min(Eigen::Array2d(pair.u, pair.v));
      high = high.max(Eigen::Array2d(pair.u, pair.v));
    }
  }
  view->image_centre = (low + high) / 2;
  const Eigen::Array2d half_size = ((high - low) / 2).max(kMinHalfSize);
  view->pixel_unit = half_size.maxCoeff();
  view->half_size = half_size / view->pixel_unit;
}

void changeUnits(PlanarView* view) {
  for (PointPair& pair : view->points) {
    pair.u = (pair.u - view->image_centre.x()) / view->pixel_unit;
    pair.v = (pair.v - view->image_centre.y()) / view->pixel_unit;
    pair.plane_x = (pair.plane_x - view->plane_centre.x()) / view->plane_unit;
    pair.plane_y = (pair.plane_y - view->plane_centre.y()) / view->plane_unit;
  }
}

}  // namespace

std::optional<PlanarView> makePlanarView(const std::vector<Vector2_f>& observed,
                                         const std::vector<Vector2_f>& reference,
                                         const Eigen::Vector2i& image_size) {
  PlanarView view;
  view.points = usablePairs(observed, reference);
  if (view.points.size() > kMaxPoints) view.points = select(view.points, kMaxPoints);
  view.distinct_points = countDistinctPoints(view.points);
  if (view.distinct_points < kMinPoints) return std::nullopt;
  const Moments plane = planeMoments(view.points);
  if (!(plane.spread >= kMinSpread)) return std::nullopt;
  setImageFrame(image_size, &view);
  view.plane_centre = plane.mean;
  view.plane_unit = plane.radius;
  changeUnits(&view);
  // In the new units, so that points which no longer differ there count as one.
  if (!(imageMoments(view.points).spread >= kMinSpread)) return std::nullopt;
  return view;
}

}  // namespace norv::internal::fit
