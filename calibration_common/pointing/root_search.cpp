#include "calibration_common/pointing/root_search.h"

#include <Eigen/Geometry>
#include <algorithm>
#include <cmath>

#include "calibration_common/pointing/head_equations.h"
#include "support/numeric/angles.h"

namespace norv::internal {
namespace {

using calibration::PanTiltReach;
using calibration::PanTiltRoot;
using calibration::PanTiltRoots;
using calibration::PanTiltSearch;
using Eigen::Vector2d;
using Eigen::Vector3d;

/// Sine of the angle between the axes below which they count as parallel: what single precision
/// leaves of parallel ones.
constexpr double kMinAxesSine = 1e-6;
/// Distance from a joint's axis, of all lengths of the head and its target, that counts as none.
constexpr double kOnAxis = 1e-12;
/// Miss, radians, of what counts as solved: rounding, over the share of its distance from the
/// optical centre in all lengths.
constexpr double kSolved = 1e-12;
/// Difference of what counts as one root.
constexpr double kSame = 1e-9;
/// Error of a start that belongs to a double root.
constexpr double kNear = 1e-5;
/// Product of two distances from the tilt axis whose square is not lost.
constexpr double kNoDirection = 1e-150;
/// By how much a start may violate the first equation.
constexpr double kStartError = 1e-3;

double cross(const Vector2d& a, const Vector2d& b) { return a.x() * b.y() - a.y() * b.x(); }

Vector3d turn(const Vector3d& p, double cosine, double sine) {
  return {cosine * p.x() - sine * p.y(), sine * p.x() + cosine * p.y(), p.z()};
}

/// Between a vector of this length and a unit vector.
double angleBetween(const Vector3d& v, double length, const Vector3d& unit) {
  const double sine = v.cross(unit).norm() / length;
  // To the last digit the angle, without the function that takes as long as all else.
  return sine < 1e-6 && v.dot(unit) > 0 ? sine : std::atan2(sine, v.dot(unit) / length);
}

/// The smaller singular value of the matrix with the columns `a` and `b`, of which only what is
/// square to `axis` counts.
double smallestSingularValue(const Vector3d& a, const Vector3d& b, const Vector3d& axis) {
  const double square = axis.squaredNorm();
  const double along_a = axis.dot(a);
  const double along_b = axis.dot(b);
  const double aa = square * a.squaredNorm() - along_a * along_a;
  const double bb = square * b.squaredNorm() - along_b * along_b;
  const double ab = square * a.dot(b) - along_a * along_b;
  const double twice_larger = aa + bb + std::sqrt((aa - bb) * (aa - bb) + 4 * ab * ab);
  return std::abs(axis.dot(a.cross(b))) / std::sqrt(0.5 * twice_larger);
}

bool isFinite(const HeadEquations& e) {
  return std::isfinite(e.unit) && e.unit > 0 && e.along_cos.allFinite() &&
         e.along_sin.allFinite() && e.constant.allFinite() && e.origin.allFinite() &&
         e.direction.allFinite();
}

bool hasParallelAxes(const PanTiltPoses& head) {
  const auto& m = head.pan_to_tilt.transform;
  const auto x = static_cast<double>(m(2, 0));
  const auto y = static_cast<double>(m(2, 1));
  const auto z = static_cast<double>(m(2, 2));
  const double square = x * x + y * y;
  return square <= kMinAxesSine * kMinAxesSine * (square + z * z);
}

/// An angle of (-pi, pi]: of minus a half turn the one that is positive.
double positiveHalfTurn(double angle) { return angle <= -kPi ? kPi : angle; }

bool isBefore(const PanTiltRoot& a, const PanTiltRoot& b) {
  return a.pan < b.pan || (a.pan == b.pan && a.tilt < b.tilt);
}

/// Collects roots of one question.
class RootSearch {
 public:
  RootSearch(const HeadEquations& equations, const Vector2d& dev, const PanTiltSearch& search,
             PanTiltRoots* roots)
      : equations_(equations),
        ray_(dev.homogeneous().normalized()),
        search_(search),
        roots_(*roots) {}

  void run() {
    if (isOnPanAxis()) {
      addEveryPan();
    } else {
      const CirclePoints starts = meetUnitCircle(eliminateRange(equations_));
      for (std::size_t i = 0; i < starts.count; ++i) addExact(starts.points[i]);
      for (std::size_t i = 0; i < starts.count && !found_exact_; ++i) addNearest(starts.points[i]);
      conclude(any_tilt_ ? PanTiltReach::kAnyTilt : PanTiltReach::kReached);
    }
  }

 private:
  bool isOnPanAxis() const {
    return std::max(equations_.along_cos.cwiseAbs().maxCoeff(),
                    equations_.along_sin.cwiseAbs().maxCoeff()) <= kOnAxis;
  }

  void conclude(PanTiltReach reached) {
    roots_.reach = reached;
    if (roots_.empty()) {
      roots_.reach = is_behind_ ? PanTiltReach::kBehind : PanTiltReach::kOutOfReach;
    }
  }

  void addEveryPan() {
    const double c = std::cos(search_.free_pan);
    const double s = std::sin(search_.free_pan);
    const Ranges ranges = findRanges(equations_, c, s);
    for (int i = 0; i < ranges.count; ++i) {
      const double range = ranges.values[static_cast<std::size_t>(i)];
      const PanTiltRoot root = rootAt({c, s, range});
      if (!(root.miss <= search_.tolerance) || !roots_.empty()) continue;
      if (range > 0) {
        roots_.roots[roots_.count++] = root;
      } else {
        is_behind_ = true;
      }
    }
    conclude(PanTiltReach::kAnyPan);
  }

  /// The roots that Newton's iteration finds from a start.
  void addExact(const CirclePoint& start) {
    if (isSurelyKnown(start)) return;
    const Ranges ranges = findRanges(equations_, start.x, start.y);
    for (int i = 0; i < ranges.count; ++i) {
      PanAndRange at = {start.x, start.y, ranges.values[static_cast<std::size_t>(i)]};
      if (std::abs(heightError(at)) > kStartError && !start.is_beside) continue;
      if (at.range < -kStartError) {
        is_behind_ = is_behind_ || !start.is_beside;
        continue;
      }
      if (!refine(equations_, &at)) continue;
      if (!(at.range > 0)) {
        is_behind_ = true;
        continue;
      }
      if (isKnown(at, kSame)) continue;
      const PanTiltRoot root = rootAt(at);
      if (!(root.miss * std::min(1.0, at.range) <= kSolved)) continue;
      found_exact_ = true;
      add(at, root);
    }
  }

  /// Where the head comes near the ray without reaching it.
  void addNearest(const CirclePoint& start) {
    const Ranges ranges = findRanges(equations_, start.x, start.y);
    for (int i = 0; i < ranges.count; ++i) {
      const PanAndRange at = {start.x, start.y, ranges.values[static_cast<std::size_t>(i)]};
      if (!(at.range > 0) || isKnown(at, 4 * std::sqrt(search_.tolerance))) continue;
      const PanTiltRoot root = rootAt(at);
      if (root.miss <= search_.tolerance) add(at, root);
    }
  }

  double heightError(const PanAndRange& at) const {
    return equations_.pointAt(at.cos_pan, at.sin_pan).z() - equations_.origin.z() -
           at.range * equations_.direction.z();
  }

  bool isKnown(const PanAndRange& at, double distance) const {
    return std::any_of(known_.begin(), known_.begin() + roots_.count, [&](const PanAndRange& k) {
      return std::abs(k.cos_pan - at.cos_pan) <= distance &&
             std::abs(k.sin_pan - at.sin_pan) <= distance &&
             std::abs(k.range - at.range) <= distance;
    });
  }

  /// Whether a start repeats one of which the roots, at all its ranges, were found already. Nothing
  /// curves faster than with the inverse of the range, so that another root is farther away than
  /// what the sensitivity takes to hide one.
  bool isSurelyKnown(const CirclePoint& start) const {
    const auto repeats = [&](const PanAndRange& k) {
      return std::abs(k.cos_pan - start.x) <= kNear && std::abs(k.sin_pan - start.y) <= kNear;
    };
    return isolation_ > 100 * kNear &&
           std::any_of(known_.begin(), known_.begin() + roots_.count, repeats);
  }

  void add(const PanAndRange& at, const PanTiltRoot& root) {
    if (roots_.count == PanTiltRoots::kMaxCount) return;
    known_[roots_.count] = at;
    isolation_ = std::min(isolation_, at.range / root.sensitivity);
    PanTiltRoot* place = roots_.roots.data() + roots_.count++;
    for (; place != roots_.begin() && isBefore(root, place[-1]); --place) *place = place[-1];
    *place = root;
  }

  /// The tilt that goes with a pan and a range, and what the whole chain makes of them.
  [[gnu::flatten]] PanTiltRoot rootAt(const PanAndRange& at) {
    const Vector3d y = equations_.pointAt(at.cos_pan, at.sin_pan);
    const Vector3d on_ray = equations_.origin + at.range * equations_.direction;
    const Vector2d from = y.head<2>();
    const Vector2d to = on_ray.head<2>();
    double tilt_cos = from.dot(to);
    double tilt_sin = cross(from, to);
    PanTiltRoot root;
    root.pan = positiveHalfTurn(std::atan2(at.sin_pan, at.cos_pan));
    root.tilt = positiveHalfTurn(std::atan2(tilt_sin, tilt_cos));
    double norm = std::sqrt(tilt_cos * tilt_cos + tilt_sin * tilt_sin);
    const bool is_on_axis = std::max(from.squaredNorm(), to.squaredNorm()) <= kOnAxis * kOnAxis;
    any_tilt_ = any_tilt_ || is_on_axis;
    // Where one of them lies on the tilt axis, all tilts come as near.
    if (is_on_axis || norm < kNoDirection) {
      root.tilt = positiveHalfTurn(std::remainder(search_.free_tilt, 2 * kPi));
      tilt_cos = std::cos(root.tilt);
      tilt_sin = std::sin(root.tilt);
      norm = 1;
    }
    judge(at, tilt_cos / norm, tilt_sin / norm, &root);
    return root;
  }

  /// Miss, range and sensitivity, of the camera frame.
  void judge(const PanAndRange& at, double tilt_cos, double tilt_sin, PanTiltRoot* root) const {
    const Vector3d slope = equations_.along_sin * at.cos_pan - equations_.along_cos * at.sin_pan;
    const Vector3d point = turn(equations_.pointAt(at.cos_pan, at.sin_pan), tilt_cos, tilt_sin);
    const Vector3d in_camera = equations_.camera_from_tilt * (point - equations_.origin);
    const Vector3d by_pan = equations_.camera_from_tilt * turn(slope, tilt_cos, tilt_sin);
    const Vector3d by_tilt = equations_.camera_from_tilt * Vector3d(-point.y(), point.x(), 0);
    const double distance = in_camera.norm();
    root->range = distance * equations_.unit;
    root->miss = angleBetween(in_camera, distance, ray_);
    root->sensitivity = distance / smallestSingularValue(by_pan, by_tilt, in_camera);
  }

  const HeadEquations& equations_;
  Vector3d ray_;
  const PanTiltSearch& search_;
  PanTiltRoots& roots_;
  std::array<PanAndRange, PanTiltRoots::kMaxCount> known_;
  double isolation_ = 1;  ///< the least distance between two roots, roughly
  bool found_exact_ = false;
  bool is_behind_ = false;
  bool any_tilt_ = false;
};

}  // namespace

PanTiltRoots searchRoots(const PanTiltPoses& head, const Vector3d& world, const Vector2d& dev,
                         const PanTiltSearch& search) {
  PanTiltRoots roots;
  const HeadEquations equations = makeHeadEquations(head, world, dev);
  if (!isFinite(equations)) return roots;
  if (hasParallelAxes(head)) {
    roots.reach = PanTiltReach::kParallelAxes;
    return roots;
  }
  RootSearch(equations, dev, search, &roots).run();
  return roots;
}

}  // namespace norv::internal
