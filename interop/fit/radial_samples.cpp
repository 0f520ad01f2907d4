#include "interop/fit/radial_samples.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace norv::interop {
namespace {

using Point = calibration::NormalizedPoint<double>;

/// Angles from the axis, in equal steps.
constexpr std::size_t kRings = 400;

/// A direction in the plane, and how many pixels one unit of length is along it.
struct WeighedDirection {
  Point direction{};
  double pixels = 0;
};

double radiusOf(const Point& p) { return std::hypot(p.x, p.y); }

double largestRay(const std::vector<RaySample>& picture) {
  double largest = 0;
  for (const RaySample& sample : picture) largest = std::max(largest, radiusOf(sample.ray));
  return largest;
}

/// The direction that counts most pixels among the grid's points of each ring; 0 pixels where it
/// has none.
std::array<WeighedDirection, kRings> directionsOf(const std::vector<RaySample>& picture,
                                                  const Eigen::Matrix2d& to_pixels,
                                                  double largest_angle) {
  std::array<WeighedDirection, kRings> rings;
  for (const RaySample& sample : picture) {
    const double r = radiusOf(sample.ray);
    if (r == 0) continue;
    const Point direction{sample.ray.x / r, sample.ray.y / r};
    const double pixels = (to_pixels * Eigen::Vector2d(direction.x, direction.y)).norm();
    const double share = std::atan(r) / largest_angle;
    const auto index = std::min(static_cast<std::size_t>(share * kRings), kRings - 1);
    if (pixels > rings[index].pixels) rings[index] = {direction, pixels};
  }
  return rings;
}

}  // namespace

std::vector<RaySample> radialSamples(const RadialMap& map, const std::vector<RaySample>& picture,
                                     const Eigen::Matrix2d& to_pixels) {
  const double largest = largestRay(picture);
  const double largest_angle = std::atan(largest);
  const auto rings = directionsOf(picture, to_pixels, largest_angle);
  const auto has_points = [](const WeighedDirection& ring) { return ring.pixels > 0; };
  const auto innermost = static_cast<std::size_t>(
      std::find_if(rings.begin(), rings.end(), has_points) - rings.begin());
  std::vector<RaySample> samples;
  Point direction{};
  for (std::size_t i = kRings; i-- > innermost;) {
    if (has_points(rings[i])) direction = rings[i].direction;
    const double theta = largest_angle * static_cast<double>(i + 1) / kRings;
    const double r = i + 1 == kRings ? largest : std::tan(theta);
    const double rd = radiusAt(map, theta);
    samples.push_back({{r * direction.x, r * direction.y}, {rd * direction.x, rd * direction.y}});
  }
  return samples;
}

}  // namespace norv::interop
