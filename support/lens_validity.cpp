#include "support/lens_validity.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

#include "support/camera/point_batches.h"
#include "support/camera/prepared_camera.h"
#include "support/lens/lens_domain.h"
#include "support/numeric/infinity.h"

namespace norv::calibration {
namespace {

using internal::kInfinity;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// Whether the first branch is certain to reach the radius `r`, whatever the rounding of what is
/// computed here: denominator and both eigenvalues of the Jacobian exceed what they may be off by.
class CertainBranch {
 public:
  explicit CertainBranch(const LensDistortion<double>& lens)
      : lens_(lens),
        most_{std::abs(lens.k1), std::abs(lens.k2), 0, 0, std::abs(lens.k3), std::abs(lens.k4),
              std::abs(lens.k5), std::abs(lens.k6)},
        tangential_(6 * std::hypot(lens.p1, lens.p2)) {}

  bool reaches(double r) const {
    // Polynomials of degree 3 by Horner's rule, products of two, sums of three of these; and r
    // squared, in powers up to the sixth: less than 32 roundings of half an epsilon.
    constexpr double kRoundings = 16 * std::numeric_limits<double>::epsilon();
    const double s = r * r;
    const RadialTerms<double> at = lens_.radial(s);
    const RadialTerms<double> most = most_.radial(s);
    const double across = at.numerator - tangential_ * r * at.denominator;
    const double most_across = most.numerator + tangential_ * r * most.denominator;
    const double along =
        at.denominator * across +
        2 * s * (at.numerator_slope * at.denominator - at.numerator * at.denominator_slope);
    const double most_along =
        most.denominator * most_across +
        2 * s * (most.numerator_slope * most.denominator + most.numerator * most.denominator_slope);
    return at.denominator > kRoundings * most.denominator && across > kRoundings * most_across &&
           along > kRoundings * most_along;
  }

 private:
  LensDistortion<double> lens_;
  LensDistortion<double> most_;  ///< the radial terms' absolute values
  double tangential_;
};

/// Bound of the distance from the principal point, in focal lengths, at which the lens images a
/// ray: the tangential terms add at most 3 hypot(p1, p2) r^2 to the radial map, which is largest at
/// the end of its branch. Infinity where there is none, as before a pole.
double reachOf(const LensDistortion<double>& lens, double end) {
  if (!std::isfinite(end)) return kInfinity;
  const double radial = std::sqrt(end) * lens.numerator(end) / lens.denominator(end);
  const double reach = radial + 3 * std::hypot(lens.p1, lens.p2) * end;
  // Answers are good to 1e-12.
  return radial > 0 ? reach * (1 + 1e-9) + 1e-9 : kInfinity;
}

/// A part of a row of pixels.
struct Columns {
  std::size_t begin;
  std::size_t end;
};

std::size_t columnAt(double u, std::size_t width) {
  return static_cast<std::size_t>(std::min(std::max(u, 0.0), static_cast<double>(width)));
}

/// Counts the pixels of an image that have a ray, row by row.
class PixelCount {
 public:
  explicit PixelCount(const CameraModel& camera)
      : camera_(internal::prepare(camera)),
        reach_(reachOf(camera.lens, internal::LensDomain(camera.lens).end)),
        width_(static_cast<std::size_t>(camera.width)),
        pixels_(2 * std::min(width_, kColumns)),
        statuses_(std::min(width_, kColumns)) {}

  void addRow(std::size_t j) {
    const double v = static_cast<double>(j) + 0.5;
    const Columns columns = columnsInReach(v);
    addWithoutRay({0, columns.begin}, v);
    addWithoutRay({columns.end, width_}, v);
    for (std::size_t i = columns.begin; i < columns.end; i += kColumns) {
      addColumns({i, std::min(columns.end, i + kColumns)}, v);
    }
  }

  double count() const { return static_cast<double>(count_); }
  double nearestWithoutRay() const { return nearest_; }

 private:
  /// Pixels that are asked about at once.
  static constexpr std::size_t kColumns = 4096;

  /// All columns that the lens may reach: along a row the distance has one minimum.
  Columns columnsInReach(double v) const {
    const CameraModel& camera = camera_.model;
    const double y = (v - camera.cy) / camera.fy;
    if (std::abs(y) > reach_) return {0, 0};
    if (std::isinf(reach_)) return {0, width_};
    const double half = std::abs(camera.fx) * std::sqrt((reach_ - y) * (reach_ + y));
    const double middle = camera.cx + camera.skew * y;
    const std::size_t begin = columnAt(middle - half - 1, width_);
    return {begin, std::max(begin, columnAt(middle + half + 1, width_))};
  }

  void addWithoutRay(const Columns& columns, double v) {
    if (columns.begin == columns.end) return;
    const double u =
        std::min(std::max(std::floor(camera_.model.cx), static_cast<double>(columns.begin)),
                 static_cast<double>(columns.end - 1));
    noteWithoutRay(u + 0.5, v);
  }

  void noteWithoutRay(double u, double v) {
    nearest_ = std::min(nearest_, std::hypot(u - camera_.model.cx, v - camera_.model.cy));
  }

  void addColumns(const Columns& columns, double v) {
    const std::size_t size = columns.end - columns.begin;
    for (std::size_t i = 0; i < size; ++i) {
      pixels_[2 * i] = static_cast<double>(columns.begin + i) + 0.5;
      pixels_[2 * i + 1] = v;
    }
    // The rays take the pixels' place.
    internal::rectifyBatch(camera_, {pixels_.data(), 2}, size, {pixels_.data(), 2},
                           {statuses_.data(), nullptr}, 1);
    for (std::size_t i = 0; i < size; ++i) {
      if (hasAnswer(statuses_[i])) {
        ++count_;
      } else {
        noteWithoutRay(static_cast<double>(columns.begin + i) + 0.5, v);
      }
    }
  }

  internal::PreparedCamera camera_;
  double reach_;
  std::size_t width_;
  std::vector<double> pixels_;
  std::vector<PointStatus> statuses_;
  std::size_t count_ = 0;
  double nearest_ = kInfinity;
};

}  // namespace

double validRadius(const LensDistortion<double>& lens) {
  double radius = std::sqrt(internal::LensDomain(lens).certain);
  if (!std::isfinite(radius)) return radius;
  // The computed end may lie beyond the true one by the rounding of the polynomials there.
  const CertainBranch branch(lens);
  double step = std::numeric_limits<double>::epsilon();
  while (radius > 0 && !branch.reaches(radius)) {
    radius -= step * radius;
    step = std::min(2 * step, 0.5);
  }
  return radius;
}

double validHalfAngle(const LensDistortion<double>& lens) { return std::atan(validRadius(lens)); }

ImageCoverage coverage(const CameraModel& camera) {
  const bool is_camera =
      internal::unprepared(camera).isUsable() && camera.fx != 0 && camera.fy != 0;
  if (!is_camera || camera.width <= 0 || camera.height <= 0) return {kNaN, kNaN};
  PixelCount pixels(camera);
  const auto height = static_cast<std::size_t>(camera.height);
  for (std::size_t j = 0; j < height; ++j) pixels.addRow(j);
  const double all = static_cast<double>(camera.width) * static_cast<double>(camera.height);
  return {pixels.count() / all, pixels.nearestWithoutRay()};
}

}  // namespace norv::calibration
