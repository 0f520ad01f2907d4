#include "calibration_common/review/lens_profile.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <iterator>

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

/// Samples of a function at equal distances from 0 to `radius`.
template <class Function>
std::array<double, kRadii + 1> sample(const Function& function, double radius) {
  std::array<double, kRadii + 1> values;
  for (int i = 0; i <= kRadii; ++i) {
    values[static_cast<std::size_t>(i)] = function(radius * i / kRadii);
  }
  return values;
}

/// The least value of `function`, between the neighbours of the sample `least`.
template <class Function>
AtRadius refine(const Function& function, double radius, std::ptrdiff_t least) {
  const auto at = [radius](std::ptrdiff_t i) { return radius * static_cast<double>(i) / kRadii; };
  const AtRadius between = minimise(function, at(std::max<std::ptrdiff_t>(least - 1, 0)),
                                    at(std::min<std::ptrdiff_t>(least + 1, kRadii)));
  const double value = function(at(least));
  return between.value < value ? between : AtRadius{value, at(least)};
}

/// Where the lens puts an undistorted point whose squared radius `s` has the radial factor `g`.
Point distortBy(const Lens& lens, double g, double s, const Point& p) {
  const double xy = p.x * p.y;
  return {p.x * g + 2 * lens.p1 * xy + lens.p2 * (s + 2 * p.x * p.x),
          p.y * g + lens.p1 * (s + 2 * p.y * p.y) + 2 * lens.p2 * xy};
}

Point pixelOf(const PinholeImage& image, const Point& p) {
  return {image.fx * p.x + image.cx, image.fy * p.y + image.cy};
}

bool isInside(const Point& pixel, const ImageSize& size) {
  return pixel.x >= 0 && pixel.x <= size.width && pixel.y >= 0 && pixel.y <= size.height;
}

Point unitVector(const Point& p) {
  const double length = std::max(std::hypot(p.x, p.y), 1e-30);
  return {p.x / length, p.y / length};
}

/// Unit vectors along the axes and towards the corners.
std::array<Point, 8> directionsOf(const PinholeImage& image) {
  const std::array<Point, 4> corners = normalisedCorners(image);
  return {{{1, 0},
           {0, 1},
           {-1, 0},
           {0, -1},
           unitVector(corners[0]),
           unitVector(corners[1]),
           unitVector(corners[2]),
           unitVector(corners[3])}};
}

double squaredDistance(const Point& a, const Point& b) {
  return (a.x - b.x) * (a.x - b.x) + (a.y - b.y) * (a.y - b.y);
}

/// How far single precision moves the image points of rays at the radius `r`, at most, squared.
double narrowingErrorAt(const LensSubject& lens, const PinholeImage& image,
                        const std::array<Point, 8>& directions, double r) {
  const double squared = r * r;
  const double stored_factor =
      lens.stored_lens.numerator(squared) / lens.stored_lens.denominator(squared);
  const double used_factor = lens.lens.numerator(squared) / lens.lens.denominator(squared);
  double largest = 0;
  for (const Point& direction : directions) {
    const Point ray = {r * direction.x, r * direction.y};
    const Point stored =
        pixelOf(lens.stored_image, distortBy(lens.stored_lens, stored_factor, squared, ray));
    if (!isInside(stored, lens.stored_image.size)) continue;
    const Point used = pixelOf(image, distortBy(lens.lens, used_factor, squared, ray));
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

SlopeRange slopesByAngle(const Lens& lens, double radius) {
  const auto slope = [&lens](double r) { return slopeByAngle(lens, r); };
  const auto values = sample(slope, radius);
  const auto [least, largest] = std::minmax_element(values.begin(), values.end());
  const AtRadius negated =
      refine([&](double r) { return -slope(r); }, radius, std::distance(values.begin(), largest));
  return {refine(slope, radius, std::distance(values.begin(), least)),
          {-negated.value, negated.radius}};
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
