#include "calibration_common/review/lens_profile.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace norv::internal::review {
namespace {

using Lens = calibration::LensDistortion<double>;
using Point = calibration::NormalizedPoint<double>;

constexpr int kRadii = 128;

/// The least value of `function` in [begin, end], where it has one minimum, by golden sections
/// (Press et al., Numerical Recipes, 3rd ed., Cambridge 2007, section 10.2).
template <class Function>
AtRadius minimise(const Function& function, double begin, double end) {
  constexpr double kGolden = 0.6180339887498949;
  double low = end - kGolden * (end - begin);
  double high = begin + kGolden * (end - begin);
  double at_low = function(low);
  double at_high = function(high);
  for (int i = 0; i < 30; ++i) {
    if (at_low < at_high) {
      end = high;
      high = low;
      at_high = at_low;
      low = end - kGolden * (end - begin);
      at_low = function(low);
    } else {
      begin = low;
      low = high;
      at_low = at_high;
      high = begin + kGolden * (end - begin);
      at_high = function(high);
    }
  }
  return at_low < at_high ? AtRadius{at_low, low} : AtRadius{at_high, high};
}

/// The least value of `function` from 0 to `radius`: of samples, and between the neighbours of the
/// least of them.
template <class Function>
AtRadius findMinimum(const Function& function, double radius) {
  const auto at = [radius](int i) { return radius * i / kRadii; };
  int least = 0;
  double value = function(0);
  for (int i = 1; i <= kRadii; ++i) {
    const double here = function(at(i));
    if (here >= value) continue;
    value = here;
    least = i;
  }
  const AtRadius between =
      minimise(function, at(std::max(least - 1, 0)), at(std::min(least + 1, kRadii)));
  return between.value < value ? between : AtRadius{value, at(least)};
}

Point project(const Lens& lens, const PinholeImage& image, const Point& ray) {
  const Point p = lens.distort(ray);
  return {image.fx * p.x + image.cx, image.fy * p.y + image.cy};
}

bool isInside(const Point& pixel, const ImageSize& size) {
  return pixel.x >= 0 && pixel.x <= size.width && pixel.y >= 0 && pixel.y <= size.height;
}

/// Unit vectors towards the corners and along the axes.
std::array<Point, 8> directionsOf(const PinholeImage& image) {
  std::array<Point, 8> directions = {{{1, 0}, {0, 1}, {-1, 0}, {0, -1}, {}, {}, {}, {}}};
  auto next = directions.begin() + 4;
  for (const Point& corner : normalisedCorners(image)) {
    const double distance = std::max(std::hypot(corner.x, corner.y), 1e-30);
    *next++ = {corner.x / distance, corner.y / distance};
  }
  return directions;
}

double squaredDistance(const Point& a, const Point& b) {
  return (a.x - b.x) * (a.x - b.x) + (a.y - b.y) * (a.y - b.y);
}

/// How far single precision moves the image points of rays at the radius `r`, at most, squared.
double narrowingErrorAt(const LensSubject& lens, const PinholeImage& image,
                        const std::array<Point, 8>& directions, double r) {
  double largest = 0;
  for (const Point& direction : directions) {
    const Point ray = {r * direction.x, r * direction.y};
    const Point stored = project(lens.stored_lens, lens.stored_image, ray);
    if (!isInside(stored, lens.stored_image.size)) continue;
    const Point used = project(lens.lens, image, ray);
    largest = std::max(largest, squaredDistance(used, stored));
  }
  return largest;
}

}  // namespace

double slopeByAngle(const Lens& lens, double r) {
  const double s = r * r;
  const auto [n, d, n1, d1] = lens.radial(s);
  return (n * d + 2 * s * (n1 * d - n * d1)) / (d * d) * (1 + s);
}

AtRadius minSlopeByAngle(const Lens& lens, double radius) {
  return findMinimum([&](double r) { return slopeByAngle(lens, r); }, radius);
}

AtRadius maxSlopeByAngle(const Lens& lens, double radius) {
  const AtRadius least = findMinimum([&](double r) { return -slopeByAngle(lens, r); }, radius);
  return {-least.value, least.radius};
}

AtRadius minDenominator(const Lens& lens, double radius) {
  const double end = radius * radius;
  AtRadius least = {1, 0};
  const auto consider = [&](double s) {
    if (!(s > 0 && s <= end)) return;
    const double value = lens.denominator(s);
    if (value < least.value) least = {value, std::sqrt(s)};
  };
  consider(end);
  // Zeros of D' = k4 + 2 k5 s + 3 k6 s^2, in the form that does not cancel.
  const double half =
      lens.k5 + std::copysign(std::sqrt(lens.k5 * lens.k5 - 3 * lens.k6 * lens.k4), lens.k5);
  consider(-half / (3 * lens.k6));
  consider(-lens.k4 / half);
  return least;
}

double maxNarrowingError(const LensSubject& lens) {
  constexpr int kSamples = 32;
  const PinholeImage image = narrowed(lens.stored_image);
  const std::array<Point, 8> directions = directionsOf(lens.stored_image);
  const double critical = minDenominator(lens.lens, lens.reach.corner).radius;
  double largest = narrowingErrorAt(lens, image, directions, critical);
  for (int i = 0; i <= kSamples; ++i) {
    const double r = lens.reach.corner * i / kSamples;
    largest = std::max(largest, narrowingErrorAt(lens, image, directions, r));
  }
  return std::sqrt(largest);
}

double shareBeyondEnd(const LensSubject& lens) {
  if (!std::isfinite(lens.reach.end)) return 0;
  // The reached pixels fill an ellipse about the principal point. Row by row, as many as make the
  // error less than 1e-4 of the image.
  constexpr int kRows = 1024;
  const PinholeImage& image = lens.image;
  const double s = lens.reach.end * lens.reach.end;
  const double reached = lens.reach.end * lens.lens.numerator(s) / lens.lens.denominator(s);
  double inside = 0;
  for (int i = 0; i < kRows; ++i) {
    const double y = (image.size.height * (i + 0.5) / kRows - image.cy) / image.fy;
    const double chord = reached * reached - y * y;
    if (!(chord > 0)) continue;
    const double half = image.fx * std::sqrt(chord);
    const double left = std::max(image.cx - half, 0.0);
    const double right = std::min(image.cx + half, static_cast<double>(image.size.width));
    inside += std::max(right - left, 0.0);
  }
  return 1 - inside / (kRows * static_cast<double>(image.size.width));
}

}  // namespace norv::internal::review
