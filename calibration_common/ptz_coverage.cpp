#include "calibration_common/ptz_coverage.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

#include "calibration_common/coverage/head_range.h"
#include "calibration_common/coverage/picture_search.h"
#include "calibration_common/coverage/widest_picture.h"
#include "support/numeric/angles.h"

namespace norv::calibration {
namespace {

using Eigen::Vector3d;
using internal::kPi;

/// Elevations from straight down to straight up, half a degree apart.
constexpr int kElevationSteps = 360;
/// Halvings of such a step: to 7e-8 radians.
constexpr int kHalvings = 17;

/// The question for many points of one camera.
class Seeing {
 public:
  Seeing(const PTZCameraModel& model, PtzSight sight)
      : head_(model.getPanTiltModel()),
        range_(internal::headRange(model.getParams().pan_tilt())),
        is_usable_(model.isValid() && range_.isFinite()) {
    if (!is_usable_ || sight == PtzSight::kCentred) return;
    picture_.emplace(model);
    is_usable_ = picture_->isUsable();
    if (!is_usable_) return;
    search_.emplace(internal::jointFrames(head_), range_, &*picture_);
    shows_axis_ = picture_->gapTo({0, 0, 1}) <= 0;
  }

  bool sees(const Vector3d& point) {
    clearance_ = 0;
    if (!is_usable_ || !point.allFinite()) return false;
    if (!picture_) return centres(point);
    // Looked for first, since it is found fastest.
    if (shows_axis_ && centres(point)) return true;
    const bool is_found = search_->finds(point);
    clearance_ = search_->clearance();
    return is_found;
  }

  /// Metres that the last point may move by and remains unseen; 0 where that is not known.
  double clearance() const { return clearance_; }

 private:
  /// Whether the optical axis comes upon the point within the range.
  bool centres(const Vector3d& point) const {
    PanTiltSearch search;
    search.free_pan = range_.pan.middle();
    search.free_tilt = range_.tilt.middle();
    const PanTiltRoots roots = head_.solveAll(point, {0, 0}, search);
    return std::any_of(roots.begin(), roots.end(), [this](const PanTiltRoot& root) {
      return range_.pan.reaches(root.pan) && range_.tilt.reaches(root.tilt);
    });
  }

  const PanTiltModel& head_;
  internal::HeadRange range_;
  bool is_usable_;
  /// Where the point need not be in the middle.
  std::optional<internal::WidestPicture> picture_;
  std::optional<internal::PictureSearch> search_;
  bool shows_axis_ = false;
  double clearance_ = 0;
};

double elevationAt(int step) { return kPi * step / kElevationSteps - kPi / 2; }

/// The spans of one azimuth.
class Column {
 public:
  Column(Seeing* seeing, const PtzCoverage& coverage, double distance, double azimuth)
      : seeing_(*seeing), centre_(coverage.centre), distance_(distance), azimuth_(azimuth) {}

  void addTo(std::vector<ElevationSpan>* spans) {
    bool was_seen = false;
    double hidden_below = -kPi;
    for (int i = 0; i <= kElevationSteps; ++i) {
      const double elevation = elevationAt(i);
      if (elevation < hidden_below) continue;
      const bool is_seen = sees(elevation);
      if (is_seen && !was_seen) {
        const double lowest = i == 0 ? elevation : edge(elevation, elevationAt(i - 1));
        spans->push_back({azimuth_, lowest, elevation});
      }
      if (is_seen) spans->back().highest = elevation;
      if (!is_seen && was_seen) spans->back().highest = edge(elevationAt(i - 1), elevation);
      was_seen = is_seen;
      hidden_below = elevation + seeing_.clearance() / distance_;
    }
  }

 private:
  bool sees(double elevation) {
    const double level = distance_ * std::cos(elevation);
    return seeing_.sees(centre_ + Vector3d(level * std::cos(azimuth_), level * std::sin(azimuth_),
                                           distance_ * std::sin(elevation)));
  }

  /// The last elevation that is seen between one that is and one that is not.
  double edge(double seen, double hidden) {
    for (int i = 0; i < kHalvings; ++i) {
      const double middle = 0.5 * (seen + hidden);
      (sees(middle) ? seen : hidden) = middle;
    }
    return seen;
  }

  Seeing& seeing_;
  Vector3d centre_;
  double distance_;
  double azimuth_;
};

}  // namespace

bool canSee(const PTZCameraModel& model, const Vector3d& point, PtzSight sight) {
  return Seeing(model, sight).sees(point);
}

PtzCoverage coverage(const PTZCameraModel& model, double distance, PtzSight sight,
                     std::size_t azimuths) {
  PtzCoverage result;
  result.centre = internal::jointFrames(model.getPanTiltModel()).turningPoint();
  if (!model.isValid() || !(distance > 0) || !std::isfinite(distance)) return result;
  if (!result.centre.allFinite()) return result;
  Seeing seeing(model, sight);
  for (std::size_t i = 0; i < azimuths; ++i) {
    const double share = static_cast<double>(i) / static_cast<double>(azimuths);
    Column(&seeing, result, distance, 2 * kPi * share - kPi).addTo(&result.spans);
  }
  return result;
}

}  // namespace norv::calibration
