#include "calibration_common/aiming/branch_solver.h"

#include <algorithm>
#include <cmath>
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

/// The cover as it changes, to first order, with whole steps.
class SteppedGrid {
 public:
  SteppedGrid(const AimTask& task, int pan, int tilt, FrozenLens* lens)
      : task_(task), at_(coverAt(pan, tilt, lens)) {
    const int next_pan = pan < std::numeric_limits<int>::max() ? 1 : -1;
    const int next_tilt = tilt < std::numeric_limits<int>::max() ? 1 : -1;
    const Cover by_pan = coverAt(pan + next_pan, tilt, lens);
    const Cover by_tilt = coverAt(pan, tilt + next_tilt, lens);
    low_by_pan_ = next_pan * (by_pan.low - at_.low);
    low_by_tilt_ = next_tilt * (by_tilt.low - at_.low);
    high_by_pan_ = next_pan * (by_pan.high - at_.high);
    high_by_tilt_ = next_tilt * (by_tilt.high - at_.high);
  }

  double ratioAt(int pan, int tilt, const Vector2d& place) const {
    Cover cover;
    cover.low = at_.low + pan * low_by_pan_ + tilt * low_by_tilt_;
    cover.high = at_.high + pan * high_by_pan_ + tilt * high_by_tilt_;
    return fillRatio(cover, place, task_.size, task_.request.zoom_value);
  }

 private:
  Cover coverAt(int pan, int tilt, FrozenLens* lens) const {
    return task_.outline.coverIn(task_.poseAt(pan, tilt), lens);
  }

  const AimTask& task_;
  Cover at_;
  Vector2d low_by_pan_;
  Vector2d low_by_tilt_;
  Vector2d high_by_pan_;
  Vector2d high_by_tilt_;
};

}  // namespace

SteppedViews BranchSolver::viewsThrough(FrozenLens* lens) {
  SteppedViews views = start(lens);
  addAll(lens, &views);
  return views;
}

SteppedViews BranchSolver::roughViewsThrough(FrozenLens* lens) {
  // The change with two steps of both motors, doubled for rays far from the axis.
  constexpr double kSteps = 4;
  SteppedViews views = start(lens);
  views.best = viewAt(task_.pan.nearest(views.fit.pan), task_.tilt.nearest(views.fit.tilt), lens,
                      views.place);
  views.least_ratio = views.best.ratio;
  const double room = std::min(views.place.minCoeff(), (task_.size - views.place).minCoeff()) *
                      task_.request.zoom_value;
  const double change = kSteps * lens->focalLength() *
                        (task_.pan.radiansPerStep() + task_.tilt.radiansPerStep()) / room;
  if (!(std::abs(views.least_ratio - 1) > change && room > 0)) addAll(lens, &views);
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

/// The whole steps around it.
void BranchSolver::addAll(FrozenLens* lens, SteppedViews* views) const {
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
  if (views->least_ratio > 1 && std::isfinite(views->least_ratio)) widen(lens, views);
}

bool BranchSolver::holdsThrough(FrozenLens* lens, SteppedView* view) const {
  const Vector2d place = task_.placeIn(*lens);
  const auto tryAt = [&](int i, int j) {
    const SteppedView there =
        viewAt(task_.pan.stepsFrom(view->pan, i), task_.tilt.stepsFrom(view->tilt, j), lens, place);
    if (there.ratio <= 1) *view = there;
    return there.ratio <= 1;
  };
  if (tryAt(0, 0)) return true;
  // Steps at which, by the change of the cover, it is not even nearly held are left out.
  constexpr double kNearly = 1.001;
  const SteppedGrid grid(task_, view->pan, view->tilt, lens);
  for (int i = -1; i <= 1; ++i) {
    for (int j = -1; j <= 1; ++j) {
      if ((i != 0 || j != 0) && grid.ratioAt(i, j, place) < kNearly && tryAt(i, j)) return true;
    }
  }
  return false;
}

/// Where axes of the head that are far from square to each other let both motors together make up
/// for what one of them misses, steps farther from the exact position are better than the nearest.
/// Tries the one that is best by the change of the cover from step to step.
void BranchSolver::widen(FrozenLens* lens, SteppedViews* views) const {
  const int pan = task_.pan.around(views->fit.pan).values[0];
  const int tilt = task_.tilt.around(views->fit.tilt).values[0];
  const SteppedGrid grid(task_, pan, tilt, lens);
  double least = views->least_ratio;
  int best[] = {0, 0};
  for (int i = -1; i <= 2; ++i) {
    for (int j = -1; j <= 2; ++j) {
      const double ratio = grid.ratioAt(i, j, views->place);
      if (!(ratio < least)) continue;
      least = ratio;
      best[0] = i;
      best[1] = j;
    }
  }
  const SteppedView view = viewAt(task_.pan.stepsFrom(pan, best[0]),
                                  task_.tilt.stepsFrom(tilt, best[1]), lens, views->place);
  views->least_ratio = std::min(views->least_ratio, view.ratio);
  if (isBetter(view, views->best)) views->best = view;
}

/// Turns the head until the middle of the cover is at the place, by Newton's iteration as if the
/// cover moved as the anchor does.
void BranchSolver::centre(FrozenLens* lens, const Vector2d& place) {
  constexpr int kMaxSteps = 8;
  constexpr double kSettled = 0.005;  // motor steps
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
    const JointAngles turn = turnFor(shift, *lens);
    if (!(std::abs(turn.pan) < 1 && std::abs(turn.tilt) < 1)) return;
    angles_ = {angles_.pan + turn.pan, angles_.tilt + turn.tilt};
    if (std::abs(turn.pan) < kSettled * task_.pan.radiansPerStep() &&
        std::abs(turn.tilt) < kSettled * task_.tilt.radiansPerStep()) {
      return;
    }
  }
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

SteppedView BranchSolver::viewAt(int pan, int tilt, FrozenLens* lens, const Vector2d& place) const {
  SteppedView view = {pan, tilt, task_.outline.coverIn(task_.poseAt(pan, tilt), lens), kInfinity,
                      0};
  if (!view.cover.empty()) view.miss = (view.cover.middle() - place).norm();
  if (task_.wantsFill()) {
    view.ratio = fillRatio(view.cover, place, task_.size, task_.request.zoom_value);
  }
  return view;
}

}  // namespace norv::internal
