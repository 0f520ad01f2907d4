#include "calibration_common/aiming/branch_solver.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace norv::internal {
namespace {

using Eigen::Vector2d;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// How much of the room on one side of the place something takes.
double shareOf(double taken, double room) {
  if (!(taken > 0)) return 0;
  return room > 0 ? taken / room : kInfinity;
}

/// What the cover takes of what there is on each side of the place, the largest of the four.
double fillRatio(const Cover& cover, const Vector2d& place, const Vector2d& size, double share) {
  if (!cover.is_whole) return kInfinity;
  double ratio = 0;
  for (int i = 0; i < 2; ++i) {
    ratio = std::max({ratio, shareOf(place[i] - cover.low[i], share * place[i]),
                      shareOf(cover.high[i] - place[i], share * (size[i] - place[i]))});
  }
  return ratio;
}

/// Motion of the ray (x/z, y/z) of a point that moves.
Vector2d rayMotion(const Eigen::Vector3d& point, const Eigen::Vector3d& motion) {
  const Vector2d ray = point.head<2>() / point.z();
  return (motion.head<2>() - ray * motion.z()) / point.z();
}

bool isBetter(const SteppedView& a, const SteppedView& b) {
  const bool a_holds = a.ratio <= 1;
  const bool b_holds = b.ratio <= 1;
  return a_holds != b_holds ? a_holds : a.miss < b.miss;
}

/// The cover some steps away, to first order.
Cover moved(const Cover& cover, const CoverSlopes& slopes, double scale, int pan, int tilt) {
  Cover result = cover;
  result.low += scale * (pan * slopes.low_by_pan + tilt * slopes.low_by_tilt);
  result.high += scale * (pan * slopes.high_by_pan + tilt * slopes.high_by_tilt);
  return result;
}

}  // namespace

SteppedViews BranchSolver::viewsThrough(FrozenLens* lens) {
  SteppedViews views = start(lens);
  addAll(lens, &views);
  return views;
}

SteppedViews BranchSolver::roughViewsThrough(FrozenLens* lens) {
  SteppedViews views = start(lens);
  const double room = roomAt(views.place);
  const double step = task_.pan.radiansPerStep() + task_.tilt.radiansPerStep();
  // A step of both motors, doubled for rays far from the axis.
  const double change = 2 * lens->focalLength() * step / room;
  if (is_centred_ && !views.fit.isLimited() && room > 0) {
    views.least_ratio = fillRatio(centred_, views.place, task_.size, task_.request.zoom_value);
    if (views.least_ratio > 1 + change) return views;
    if (views.least_ratio > 1 - 0.1 * change) {
      addHolding(lens, &views);
      return views;
    }
  }
  views.best = viewAt(task_.pan.nearest(views.fit.pan), task_.tilt.nearest(views.fit.tilt), lens,
                      views.place);
  views.least_ratio = views.best.ratio;
  const bool is_far =
      is_centred_ ? views.least_ratio <= 1 : std::abs(views.least_ratio - 1) > change;
  if (!is_far || !(room > 0)) addHolding(lens, &views);
  return views;
}

/// The exact position.
SteppedViews BranchSolver::start(FrozenLens* lens) {
  SteppedViews views;
  views.place = task_.placeIn(*lens);
  if (is_exact_ && (!task_.outline.isOnePoint() || task_.wantsFill())) centre(lens, views.place);
  views.fit = fitLimited(task_, angles_, end_);
  views.least_ratio = kInfinity;
  return views;
}

/// What there is of the picture on the side of the place where there is least, pixels.
double BranchSolver::roomAt(const Vector2d& place) const {
  return std::min(place.minCoeff(), (task_.size - place).minCoeff()) * task_.request.zoom_value;
}

/// The whole steps around it.
void BranchSolver::addAll(FrozenLens* lens, SteppedViews* views) {
  views->least_ratio = kInfinity;
  const MotorJoint::WholeSteps pans = task_.pan.around(views->fit.pan);
  const MotorJoint::WholeSteps tilts = task_.tilt.around(views->fit.tilt);
  for (int i = 0; i < pans.count; ++i) {
    for (int j = 0; j < tilts.count; ++j) {
      const SteppedView view = viewAt(pans.values[i], tilts.values[j], lens, views->place);
      views->least_ratio = std::min(views->least_ratio, view.ratio);
      if ((i == 0 && j == 0) || isBetter(view, views->best)) views->best = view;
    }
  }
  if (views->least_ratio > 1 && std::isfinite(views->least_ratio)) addHolding(lens, views);
}

/// Looks for steps that hold the target: of the four around the exact position the one that misses
/// least. Where steps of the two motors move the picture in nearly the same direction, those around
/// them as well: both motors together make up for what one of them misses.
void BranchSolver::addHolding(FrozenLens* lens, SteppedViews* views) {
  const SteppedView base = viewAt(task_.pan.around(views->fit.pan).values[0],
                                  task_.tilt.around(views->fit.tilt).values[0], lens, views->place);
  if (views->best.cover.empty() || isBetter(base, views->best)) views->best = base;
  if (!base.cover.is_whole) {
    views->least_ratio = std::min(views->least_ratio, base.ratio);
    return;
  }
  StepSearch near = searchAround(base, {0, 1}, lens);
  if (!near.found && slopes_->areOblique()) near = searchAround(base, {-1, 2}, lens);
  if (near.found) {
    views->best = *near.found;
    views->least_ratio = std::min(near.least_ratio, 1.0);
  } else {
    views->least_ratio = std::max(near.least_ratio, std::nextafter(1.0, 2.0));
  }
}

bool BranchSolver::holdsThrough(FrozenLens* lens, SteppedView* view) const {
  const SteppedView there = viewAt(view->pan, view->tilt, lens, task_.placeIn(*lens));
  if (there.ratio <= 1) *view = there;
  return there.ratio <= 1;
}

/// The steps from `base` that hold the target and miss least, both motors' within `reach`: by the
/// change of the cover from step to step, and then looked at. None is taken that misses by more
/// than the four of `base` can: that would trade the place for the zoom.
BranchSolver::StepSearch BranchSolver::searchAround(const SteppedView& base, const StepReach& reach,
                                                    FrozenLens* lens) {
  const double scale = keepSlopes(base, lens);
  const Vector2d place = task_.placeIn(*lens);
  const double step = task_.pan.radiansPerStep() + task_.tilt.radiansPerStep();
  const double nearly = 1 + 2e-5 + 4 * lens->focalLength() * step * step / roomAt(place);
  const double farthest = slopes_->farthest() * scale;
  StepSearch search = {{}, kInfinity};
  StepCandidates candidates;
  for (int i = reach.first; i <= reach.last; ++i) {
    for (int j = reach.first; j <= reach.last; ++j) {
      const Cover cover = moved(base.cover, *slopes_, scale, i, j);
      const double miss = (cover.middle() - place).norm();
      if (!(miss <= farthest)) continue;
      const double ratio = fillRatio(cover, place, task_.size, task_.request.zoom_value);
      search.least_ratio = std::min(search.least_ratio, ratio);
      if (ratio < nearly) candidates.add({i, j, miss});
    }
  }
  while (const StepCandidate* const next = candidates.takeNearest()) {
    const SteppedView view = viewFrom(base, *next, lens, place);
    if (!(view.ratio <= 1)) continue;
    search.found = view;
    break;
  }
  return search;
}

SteppedView BranchSolver::viewFrom(const SteppedView& base, const StepCandidate& steps,
                                   FrozenLens* lens, const Vector2d& place) const {
  if (steps.pan == 0 && steps.tilt == 0) return base;
  return viewAt(task_.pan.stepsFrom(base.pan, steps.pan),
                task_.tilt.stepsFrom(base.tilt, steps.tilt), lens, place);
}

/// Sees to it that there are slopes for the surroundings of a view; the factor that they have at
/// its lens.
double BranchSolver::keepSlopes(const SteppedView& base, FrozenLens* lens) {
  constexpr int kMaxSteps = 8;
  constexpr double kMaxChange = 0.005;  // of the focal length
  if (slopes_ && std::abs(std::int64_t{base.pan} - slopes_->pan) <= kMaxSteps &&
      std::abs(std::int64_t{base.tilt} - slopes_->tilt) <= kMaxSteps) {
    const double scale = lens->focalLength() / slopes_->focal_length;
    if (std::abs(scale - 1) <= kMaxChange) return scale;
  }
  const int pan = base.pan < std::numeric_limits<int>::max() ? 1 : -1;
  const int tilt = base.tilt < std::numeric_limits<int>::max() ? 1 : -1;
  const Cover by_pan = coverAt(base.pan + pan, base.tilt, lens);
  const Cover by_tilt = coverAt(base.pan, base.tilt + tilt, lens);
  slopes_ = CoverSlopes{base.pan,
                        base.tilt,
                        lens->focalLength(),
                        pan * (by_pan.low - base.cover.low),
                        pan * (by_pan.high - base.cover.high),
                        tilt * (by_tilt.low - base.cover.low),
                        tilt * (by_tilt.high - base.cover.high)};
  return 1;
}

/// Turns the head until the middle of the cover is at the place, by Newton's iteration as if the
/// cover moved as the anchor does.
void BranchSolver::centre(FrozenLens* lens, const Vector2d& place) {
  if (followCentre(*lens, place)) return;
  is_centred_ = false;
  constexpr int kMaxSteps = 8;
  constexpr double kSettled = 0.1;  // motor steps, after which whole ones are looked at
  JointAngles last = angles_;
  double last_error = kInfinity;
  for (int i = 0; i < kMaxSteps; ++i) {
    const Cover cover = task_.outline.coverIn(task_.chain.poseAt(angles_), lens);
    const Vector2d shift = place - cover.middle();
    const double error = shift.norm();
    if (!cover.is_whole || !(error < last_error)) {
      angles_ = last;
      return;
    }
    last = angles_;
    last_error = error;
    centred_ = cover;
    centred_.low += shift;
    centred_.high += shift;
    centred_length_ = lens->focalLength();
    is_centred_ = true;
    const JointAngles turn = turnFor(shift, *lens);
    if (!(std::abs(turn.pan) < 1 && std::abs(turn.tilt) < 1)) return;
    angles_ = {angles_.pan + turn.pan, angles_.tilt + turn.tilt};
    if (std::abs(turn.pan) < kSettled * task_.pan.radiansPerStep() &&
        std::abs(turn.tilt) < kSettled * task_.tilt.radiansPerStep()) {
      return;
    }
  }
}

/// Keeps the exact position where the zoom has hardly changed; whether it has not.
bool BranchSolver::followCentre(const FrozenLens& lens, const Vector2d& place) {
  constexpr double kHardly = 0.002;  // of the focal length
  const double scale = lens.focalLength() / centred_length_;
  if (!is_centred_ || !(std::abs(scale - 1) <= kHardly)) return false;
  centred_.low = place + scale * (centred_.low - place);
  centred_.high = place + scale * (centred_.high - place);
  centred_length_ = lens.focalLength();
  return true;
}

/// By how much the head has to turn for the anchor's pixel to move by `shift`, to first order.
[[gnu::flatten]] JointAngles BranchSolver::turnFor(const Vector2d& shift,
                                                   const FrozenLens& lens) const {
  const MovingPoint point = task_.chain.pointAt(angles_);
  const Vector2d ray = point.at.head<2>() / point.at.z();
  const Vector2d wanted = lens.movedRay(ray, shift) - ray;
  const Vector2d by_pan = rayMotion(point.at, point.by_pan);
  const Vector2d by_tilt = rayMotion(point.at, point.by_tilt);
  const double determinant = by_pan.x() * by_tilt.y() - by_pan.y() * by_tilt.x();
  return {(wanted.x() * by_tilt.y() - wanted.y() * by_tilt.x()) / determinant,
          (by_pan.x() * wanted.y() - by_pan.y() * wanted.x()) / determinant};
}

Cover BranchSolver::coverAt(int pan, int tilt, FrozenLens* lens) const {
  return task_.outline.coverIn(task_.poseAt(pan, tilt), lens);
}

SteppedView BranchSolver::viewAt(int pan, int tilt, FrozenLens* lens, const Vector2d& place) const {
  SteppedView view = {pan, tilt, coverAt(pan, tilt, lens), kInfinity, 0};
  if (!view.cover.empty()) view.miss = (view.cover.middle() - place).norm();
  if (task_.wantsFill()) {
    view.ratio = fillRatio(view.cover, place, task_.size, task_.request.zoom_value);
  }
  return view;
}

}  // namespace norv::internal
