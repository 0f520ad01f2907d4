#include "support/numeric/monotone_cubic.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace norv::internal {
namespace {

/// The straight line from one point to the next.
struct Chord {
  double width;
  double slope;
};

Chord chordAfter(const std::vector<double>& x, const std::vector<double>& y, std::size_t i) {
  const double width = x[i + 1] - x[i];
  return {width, (y[i + 1] - y[i]) / width};
}

/// The weighted harmonic mean lies below three times either slope, which is what keeps both cubics
/// that meet here rising.
double slopeBetween(const Chord& before, const Chord& after) {
  const double weight_before = 2 * after.width + before.width;
  const double weight_after = after.width + 2 * before.width;
  return (weight_before + weight_after) /
         (weight_before / before.slope + weight_after / after.slope);
}

/// The slope at the end of the parabola through the last three points. It is below twice that of
/// the last chord, as monotony asks (three times), but may fall.
double slopeAtEnd(const Chord& before, const Chord& last) {
  const double parabola =
      ((2 * last.width + before.width) * last.slope - last.width * before.slope) /
      (last.width + before.width);
  return std::max(parabola, 0.1 * last.slope);
}

std::vector<double> monotoneSlopes(const std::vector<double>& x, const std::vector<double>& y) {
  std::vector<double> slopes;
  slopes.reserve(x.size());
  Chord before = chordAfter(x, y, 0);
  Chord last = before;
  slopes.push_back(before.slope);
  for (std::size_t i = 1; i + 1 < x.size(); ++i) {
    before = last;
    last = chordAfter(x, y, i);
    slopes.push_back(slopeBetween(before, last));
  }
  slopes.push_back(slopeAtEnd(before, last));
  return slopes;
}

}  // namespace

MonotoneCubic::MonotoneCubic(std::vector<double> x, std::vector<double> y)
    : x_(std::move(x)), y_(std::move(y)), slopes_(monotoneSlopes(x_, y_)) {}

ValueAndSlope MonotoneCubic::at(double x) const {
  // The last point belongs to the piece before it.
  const auto next = std::upper_bound(x_.begin() + 1, x_.end() - 1, x);
  const auto i = static_cast<std::size_t>(next - x_.begin()) - 1;
  const Chord chord = chordAfter(x_, y_, i);
  const double t = (x - x_[i]) / chord.width;
  const double start = slopes_[i];
  const double quadratic = 3 * chord.slope - 2 * start - slopes_[i + 1];
  const double cubic = start + slopes_[i + 1] - 2 * chord.slope;
  return {y_[i] + chord.width * t * (start + t * (quadratic + t * cubic)),
          start + t * (2 * quadratic + 3 * t * cubic)};
}

}  // namespace norv::internal
