#include "interop/fit/picture_rays.h"

#include <fmt/format.h>

#include <Eigen/Core>
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "interop/fit/extended_inverse.h"
#include "interop/fit/radial_inverse.h"
#include "support/lens_validity.h"
#include "support/point_projection.h"

namespace norv::interop {
namespace {

using calibration::LensDistortion;
using Point = calibration::NormalizedPoint<double>;

constexpr double kDegree = 3.14159265358979323846 / 180;
constexpr double kRightAngle = 3.14159265358979323846 / 2;

/// With fewer points that have a ray, in parts of all, a camera is none.
constexpr double kMinShare = 0.25;

/// The undistorted points of many distorted ones; not finite where the lens has none.
std::vector<Point> undistorted(const LensDistortion<double>& lens,
                               const std::vector<Point>& imaged) {
  const calibration::CameraModel camera{1, 1, 1, 1, 0, 0, 0, lens};
  std::vector<double> numbers;
  for (const Point& p : imaged) numbers.insert(numbers.end(), {p.x, p.y});
  const calibration::PointArray<double> array{numbers.data(), 2};
  calibration::rectifyPoints(camera, array, imaged.size(), array);
  std::vector<Point> points;
  for (std::size_t i = 0; i < imaged.size(); ++i)
    points.push_back({array.at(i, 0), array.at(i, 1)});
  return points;
}

std::vector<RaySample> raysOf(const LensDistortion<double>& lens,
                              const std::vector<Point>& imaged) {
  std::vector<RaySample> samples;
  for (const Point& ray : undistorted(lens, imaged)) {
    if (std::isfinite(ray.x)) samples.push_back({ray, lens.distort(ray)});
  }
  return samples;
}

std::vector<RaySample> raysOf(const ExtendedLens& lens, const std::vector<Point>& imaged) {
  const ExtendedInverse inverse(lens);
  std::vector<RaySample> samples;
  for (const Point& p : imaged) {
    const std::optional<Point> ray = inverse.undistort(p);
    if (ray) samples.push_back({*ray, distort(lens, *ray)});
  }
  return samples;
}

/// A ray at the angle theta from the axis, in the direction of `p`. At 90 degrees and beyond it is
/// infinite.
RaySample sampleAt(const RadialMap& map, const Point& p, double theta) {
  const double r = std::hypot(p.x, p.y);
  const Point direction = r > 0 ? Point{p.x / r, p.y / r} : Point{0, 0};
  const double tangent = std::tan(theta);
  const double rd = radiusAt(map, theta);
  return {{tangent * direction.x, tangent * direction.y},
          map.then.distort(Point{rd * direction.x, rd * direction.y})};
}

/// The same of a radial map; `largest` becomes the largest angle.
std::vector<RaySample> raysOf(const RadialMap& map, const std::vector<Point>& imaged,
                              double* largest) {
  RadialInverse inverse(map);
  std::vector<RaySample> samples;
  for (const Point& p : undistorted(map.then, imaged)) {
    const std::optional<double> theta = inverse.angleAt(std::hypot(p.x, p.y));
    if (!theta) continue;
    *largest = std::max(*largest, *theta);
    samples.push_back(sampleAt(map, p, *theta));
  }
  return samples;
}

/// Of lenses with parameters that are no numbers, or huge.
bool isBeyondNumbers(const RaySample& sample) {
  return !std::isfinite(sample.ray.x + sample.ray.y + sample.imaged.x + sample.imaged.y);
}

std::string beyondPlane(double angle) {
  return fmt::format(
      "the picture reaches {:.4g} degrees from the axis, and a rational lens holds rays at less "
      "than 90 degrees",
      angle / kDegree);
}

bool isCamera(const PeerCamera& camera) {
  for (const double number : {camera.fx, camera.fy, camera.skew, camera.cx, camera.cy}) {
    if (!std::isfinite(number)) return false;
  }
  return camera.fx != 0 && camera.fy != 0 && camera.size.width > 0 && camera.size.height > 0;
}

/// Pixels as normalised image coordinates.
std::vector<Point> imagedPoints(const PeerCamera& camera, std::vector<Point> points) {
  for (Point& p : points) {
    p.y = (p.y - camera.cy) / camera.fy;
    p.x = (p.x - camera.cx - camera.skew * p.y) / camera.fx;
  }
  return points;
}

}  // namespace

std::variant<PictureRays, std::string> raysOfPicture(const PeerCamera& camera,
                                                     std::vector<Point> points) {
  if (!isCamera(camera)) return "its camera matrix or its size is none";
  const std::vector<Point> imaged = imagedPoints(camera, std::move(points));
  PictureRays rays;
  double largest = 0;
  if (const auto* const map = std::get_if<RadialMap>(&camera.lens)) {
    rays.samples = raysOf(*map, imaged, &largest);
  } else if (const auto* const extended = std::get_if<ExtendedLens>(&camera.lens)) {
    rays.samples = raysOf(*extended, imaged);
  } else {
    rays.samples = raysOf(std::get<LensDistortion<double>>(camera.lens), imaged);
  }
  rays.samples.erase(std::remove_if(rays.samples.begin(), rays.samples.end(), isBeyondNumbers),
                     rays.samples.end());
  if (largest >= kRightAngle) return beyondPlane(largest);
  rays.share = static_cast<double>(rays.samples.size()) / static_cast<double>(imaged.size());
  if (rays.share < kMinShare) {
    return fmt::format("its lens has rays at less than {:.0f} % of the picture's points",
                       100 * kMinShare);
  }
  return rays;
}

}  // namespace norv::interop
