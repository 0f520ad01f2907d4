#include "calibration_common/ptz_aiming.h"

#include <algorithm>
#include <array>
#include <optional>

#include "calibration_common/aiming/branch_solver.h"
#include "calibration_common/aiming/position_order.h"
#include "calibration_common/aiming/request_check.h"
#include "calibration_common/aiming/target_placing.h"
#include "calibration_common/aiming/zoom_choice.h"
#include "calibration_common/aiming/zoom_limits.h"
#include "calibration_common/aiming/zoom_search.h"

namespace norv::calibration {
namespace {

using internal::AimTask;
using internal::BranchSolver;
using internal::ChosenZoom;
using internal::FrozenLens;
using internal::SteppedViews;

Aim failed(AimFailure failure) {
  Aim aim;
  aim.failure = failure;
  return aim;
}

AimFailure failureOf(PanTiltReach reach) {
  switch (reach) {
    case PanTiltReach::kReached:
    case PanTiltReach::kAnyPan:
    case PanTiltReach::kAnyTilt:
      return AimFailure::kNone;
    case PanTiltReach::kOutOfReach:
      return AimFailure::kOutOfReach;
    case PanTiltReach::kBehind:
      return AimFailure::kBehind;
    case PanTiltReach::kParallelAxes:
      return AimFailure::kParallelAxes;
    case PanTiltReach::kNotFinite:
      break;
  }
  return AimFailure::kInvalidModel;
}

AimPosition toPosition(const AimTask& task, const ChosenZoom& zoom, const SteppedViews& views) {
  const internal::SteppedView& view = views.best;
  const MotorPositions& now = task.request.now;
  AimPosition position;
  position.motors = {view.pan, view.tilt, zoom.zoom};
  position.pan_bound = views.fit.pan.bound;
  position.tilt_bound = views.fit.tilt.bound;
  position.zoom_bound = zoom.bound;
  position.lands = view.cover.middle();
  position.wanted = views.place;
  position.miss = view.miss;
  position.low = view.cover.low;
  position.high = view.cover.high;
  position.is_whole = view.cover.is_whole;
  position.is_inside = view.cover.is_whole && (view.cover.low.array() >= 0).all() &&
                       (view.cover.high.array() <= task.size.array()).all();
  position.pan_travel = std::int64_t{view.pan} - now.pan;
  position.tilt_travel = std::int64_t{view.tilt} - now.tilt;
  position.zoom_travel = std::int64_t{zoom.zoom} - now.zoom;
  position.is_upright = internal::uprightness(task.poseAt(view.pan, view.tilt)) > 0;
  return position;
}

void addViews(const AimTask& task, const ChosenZoom& zoom, const SteppedViews& views, Aim* aim) {
  if (!views.best.cover.empty()) internal::addPosition(toPosition(task, zoom, views), aim);
}

/// The position of a pair of angles at the longest zoom that holds the target.
void addFilled(const AimTask& task, BranchSolver branch, int start, Aim* aim) {
  const internal::ZoomScale scale(task.model, task.zooms);
  internal::ZoomSearch search(scale, start);
  SteppedViews held = {};
  while (!search.isDone()) {
    FrozenLens lens(task.model, search.zoom());
    const std::int64_t at = scale.indexOf(search.zoom());
    const bool is_end = at == 0 || at == scale.last();
    const SteppedViews views =
        is_end ? branch.viewsThrough(&lens) : branch.roughViewsThrough(&lens);
    if (views.least_ratio <= 1 || at == 0) held = views;
    search.tell(views.least_ratio, lens.focalLength());
  }
  std::int64_t index = std::max<std::int64_t>(search.held(), 0);
  // The exact position moves with the zoom, so that the next one was tried with other steps.
  for (; search.held() >= 0 && index < scale.last(); ++index) {
    FrozenLens lens(task.model, scale.zoomAt(index + 1));
    if (!branch.holdsThrough(&lens, &held.best)) break;
    held.place = task.placeIn(lens);
  }
  ChosenZoom zoom = {scale.zoomAt(index), MotorBound::kNone};
  if (search.held() < 0) zoom.bound = scale.wideEnd();
  if (search.held() >= 0 && index == scale.last()) zoom.bound = scale.longEnd();
  addViews(task, zoom, held, aim);
}

/// The pairs of angles at which the outline's anchor is seen at the place.
class AimSearch {
 public:
  AimSearch(const AimTask& task, const ChosenZoom& zoom) : task_(task), zoom_(zoom) {}

  Aim run() {
    const Eigen::Vector2d ray = wantedRay();
    if (!ray.allFinite()) return failed(AimFailure::kNoRay);
    const PanTiltRoots roots =
        task_.model.getPanTiltModel().solveAll(task_.chain.pointOrOnAxis(), ray, searchOptions());
    if (roots.empty()) return failed(failureOf(roots.reach));
    if (!takeOutside(roots)) return failed(AimFailure::kInvalidRequest);
    for (std::size_t i = 0; i < count_; ++i) {
      if (isNearRange(roots_[i])) add(roots_[i]);
    }
    // What is several points or a sphere is aimed at beside its anchor.
    const bool may_be_free = task_.wantsFill() || !task_.outline.isOnePoint();
    for (std::size_t i = 0; i < count_ && may_be_free && !hasFree(); ++i) {
      if (!isNearRange(roots_[i])) add(roots_[i]);
    }
    if (!hasFree()) addLimited();
    aim_.failure = aim_.empty() ? AimFailure::kOutOfSight : AimFailure::kNone;
    internal::sortPositions(task_, &aim_);
    return aim_;
  }

 private:
  /// The ray that is imaged at the place, of the present zoom if it has one. Where the zoom is
  /// still to be found the search may begin with another one.
  Eigen::Vector2d wantedRay() {
    Eigen::Vector2d ray = rayAt(zoom_.zoom);
    if (!task_.wantsFill()) return ray;
    for (const int zoom : {task_.zooms.highest, task_.zooms.lowest}) {
      if (ray.allFinite()) break;
      zoom_.zoom = zoom;
      ray = rayAt(zoom);
    }
    return ray;
  }

  Eigen::Vector2d rayAt(int zoom) const {
    FrozenLens lens(task_.model, zoom);
    return lens.rectify(task_.placeIn(lens));
  }

  /// What the head does not reach but comes near to is aimed at as nearly as it can.
  PanTiltSearch searchOptions() const {
    PanTiltSearch options;
    options.tolerance = 0.02;
    options.free_pan = task_.pan.presentAngle();
    options.free_tilt = task_.tilt.presentAngle();
    return options;
  }

  /// Takes the roots at which the camera is outside of the target; whether there are any.
  bool takeOutside(const PanTiltRoots& roots) {
    for (const PanTiltRoot& root : roots) {
      if (root.range > task_.outline.radius()) roots_[count_++] = root;
    }
    return count_ > 0;
  }

  /// Whether a root is in the motors' range, or so near that it may be at another zoom.
  bool isNearRange(const PanTiltRoot& root) const {
    constexpr double kNear = 0.02;  // radians
    return beyondOf(root) <= kNear;
  }

  /// By how much a root lies beyond the range of the motors, radians.
  double beyondOf(const PanTiltRoot& root) const {
    return std::max(task_.pan.fit(root.pan).beyond * task_.pan.radiansPerStep(),
                    task_.tilt.fit(root.tilt).beyond * task_.tilt.radiansPerStep());
  }

  /// Whether there is a position that no limit keeps from the target.
  bool hasFree() const {
    return !aim_.empty() && aim_.best().pan_bound == MotorBound::kNone &&
           aim_.best().tilt_bound == MotorBound::kNone;
  }

  /// The positions at the ends of the ranges.
  void addLimited() {
    aim_.count = 0;
    const PanTiltRoot* nearest = std::min_element(
        roots_.begin(), roots_.begin() + count_,
        [this](const PanTiltRoot& a, const PanTiltRoot& b) { return beyondOf(a) < beyondOf(b); });
    const internal::LimitEnds ends = limitEnds(task_, {nearest->pan, nearest->tilt});
    for (std::size_t i = 0; i < ends.count; ++i) add(*nearest, ends.values[i]);
    for (std::size_t i = 0; i < count_ && ends.count == 0; ++i) add(roots_[i]);
  }

  void add(const PanTiltRoot& root, std::optional<internal::LimitEnd> end = std::nullopt) {
    constexpr double kExact = 1e-9;
    BranchSolver branch(task_, {root.pan, root.tilt}, root.miss <= kExact, end);
    if (task_.wantsFill()) {
      addFilled(task_, branch, zoom_.zoom, &aim_);
      return;
    }
    FrozenLens lens(task_.model, zoom_.zoom);
    addViews(task_, zoom_, branch.viewsThrough(&lens), &aim_);
  }

  const AimTask& task_;
  ChosenZoom zoom_;
  std::array<PanTiltRoot, PanTiltRoots::kMaxCount> roots_;
  std::size_t count_ = 0;
  Aim aim_;
};

}  // namespace

Aim aim(const PTZCameraModel& model, const AimRequest& request) {
  const AimFailure refused = internal::checkAim(model, request);
  if (refused != AimFailure::kNone) return failed(refused);
  const internal::PlacedTarget target = internal::placeTarget(model, request);
  if (target.failure != AimFailure::kNone) return failed(target.failure);
  const ZoomRange zooms = internal::findZoomRange(model);
  if (zooms.empty()) return failed(AimFailure::kNoZoom);
  const AimTask task(model, request, *target.outline, zooms);
  const bool is_kept = request.zoom == AimZoom::kKeep || task.wantsFill();
  return AimSearch(task, is_kept ? internal::keepZoom(zooms, request.now.zoom)
                                 : internal::chooseZoom(task))
      .run();
}

ZoomRange zoomRange(const PTZCameraModel& model) { return internal::findZoomRange(model); }

}  // namespace norv::calibration
