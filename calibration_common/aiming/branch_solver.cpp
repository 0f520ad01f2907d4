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

}  // namespace

SteppedViews BranchSolver::viewsThrough(FrozenLens* lens) {
  SteppedViews views;
  views.place = task_.placeIn(*lens);
  if (is_exact_ && (!task_.outline.isOnePoint() || task_.wantsFill())) centre(lens, views.place);
  views.fit = fitLimited(task_, angles_);
  views.least_ratio = kInfinity;
  const MotorJoint::WholeSteps pans = task_.pan.around(views.fit.pan);
  const MotorJoint::WholeSteps tilts = task_.tilt.around(views.fit.tilt);
  for (int i = 0; i < pans.count; ++i) {
    for (int j = 0; j < tilts.count; ++j) {
      const SteppedView view = viewAt(pans.values[i], tilts.values[j], lens, views.place);
      views.least_ratio = std::min(views.least_ratio, view.ratio);
      if ((i == 0 && j == 0) || isBetter(view, views.best)) views.best = view;
    }
  }
  return views;
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
JointAngles BranchSolver::turnFor(const Vector2d& shift, const FrozenLens& lens) const {
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
