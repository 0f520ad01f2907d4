#include "calibration_common/aiming/limited_fit.h"

#include <limits>

namespace norv::internal {
namespace {

using calibration::MotorBound;

constexpr LimitEnd kAllEnds[] = {LimitEnd::kLowestPan, LimitEnd::kHighestPan, LimitEnd::kLowestTilt,
                                 LimitEnd::kHighestTilt};

bool isOfPan(LimitEnd end) { return end == LimitEnd::kLowestPan || end == LimitEnd::kHighestPan; }

MotorBound boundOf(LimitEnd end) {
  const bool is_lowest = end == LimitEnd::kLowestPan || end == LimitEnd::kLowestTilt;
  return is_lowest ? MotorBound::kLowest : MotorBound::kHighest;
}

MotorFit endOf(const MotorJoint& joint, LimitEnd end) {
  const MotorBound bound = boundOf(end);
  const int steps = bound == MotorBound::kLowest ? joint.lowest() : joint.highest();
  return {static_cast<double>(steps), bound};
}

/// Positions with a joint at an end of its range.
class EndSearch {
 public:
  EndSearch(const AimTask& task, const JointAngles& angles)
      : task_(task), ray_(task.chain.pointAt(angles).at) {}

  /// With the joint at the end, and the other one where that suits best.
  HeadFit fitAt(LimitEnd end) const {
    HeadFit fit;
    if (isOfPan(end)) {
      fit.pan = endOf(task_.pan, end);
      fit.tilt = tiltFor(fit.pan);
    } else {
      fit.tilt = endOf(task_.tilt, end);
      fit.pan = panFor(fit.tilt);
    }
    return fit;
  }

  /// The same; where the other joint comes to an end, too, the first one is free to follow.
  HeadFit nearestAt(LimitEnd end) const {
    HeadFit fit = fitAt(end);
    if (isOfPan(end) && fit.tilt.bound != MotorBound::kNone) fit.pan = panFor(fit.tilt);
    if (!isOfPan(end) && fit.pan.bound != MotorBound::kNone) fit.tilt = tiltFor(fit.pan);
    return fit;
  }

  /// Whether nothing near the end is better. Where both joints are at an end it is that of the pan
  /// which counts.
  bool isBestAround(LimitEnd end) const {
    const HeadFit fit = fitAt(end);
    if (isOfPan(end)) {
      return panFor(fit.tilt).bound != MotorBound::kNone &&
             leadsOut(end, task_.pan, slope(fit, &MovingPoint::by_pan));
    }
    return fit.pan.bound == MotorBound::kNone && tiltFor(fit.pan).bound != MotorBound::kNone &&
           leadsOut(end, task_.tilt, slope(fit, &MovingPoint::by_tilt));
  }

  double cosineAt(const HeadFit& fit) const { return cosineBetween(pointAt(fit).at, ray_); }

 private:
  MotorFit tiltFor(const MotorFit& pan) const {
    return task_.tilt.fit(
        task_.chain.bestTilt({task_.pan.angleAt(pan.steps), task_.tilt.presentAngle()}, ray_));
  }

  MotorFit panFor(const MotorFit& tilt) const {
    return task_.pan.fit(
        task_.chain.bestPan({task_.pan.presentAngle(), task_.tilt.angleAt(tilt.steps)}, ray_));
  }

  MovingPoint pointAt(const HeadFit& fit) const {
    return task_.chain.pointAt(
        {task_.pan.angleAt(fit.pan.steps), task_.tilt.angleAt(fit.tilt.steps)});
  }

  double slope(const HeadFit& fit, Eigen::Vector3d MovingPoint::*motion) const {
    const MovingPoint point = pointAt(fit);
    return cosineSlope(point.at, point.*motion, ray_);
  }

  /// Whether what comes nearer with this slope by angle does so beyond the end.
  static bool leadsOut(LimitEnd end, const MotorJoint& joint, double slope) {
    const bool rises = (slope > 0) == (joint.angleAt(1) > joint.angleAt(0));
    return rises == (boundOf(end) == MotorBound::kHighest);
  }

  const AimTask& task_;
  Eigen::Vector3d ray_;
};

}  // namespace

HeadFit fitEach(const AimTask& task, const JointAngles& angles) {
  return {task.pan.fit(angles.pan), task.tilt.fit(angles.tilt)};
}

LimitEnds limitEnds(const AimTask& task, const JointAngles& angles) {
  const EndSearch search(task, angles);
  LimitEnds ends;
  for (const LimitEnd end : kAllEnds) {
    if (search.isBestAround(end)) ends.values[ends.count++] = end;
  }
  return ends;
}

HeadFit fitLimited(const AimTask& task, const JointAngles& angles, std::optional<LimitEnd> end) {
  const HeadFit each = fitEach(task, angles);
  if (!each.isLimited()) return each;
  const EndSearch search(task, angles);
  if (end) return search.fitAt(*end);
  HeadFit best = {};
  double best_cosine = -std::numeric_limits<double>::infinity();
  for (const LimitEnd tried : kAllEnds) {
    const MotorFit& joint = isOfPan(tried) ? each.pan : each.tilt;
    if (joint.bound == MotorBound::kNone) continue;
    const HeadFit fit = search.nearestAt(tried);
    const double cosine = search.cosineAt(fit);
    if (!(cosine > best_cosine)) continue;
    best = fit;
    best_cosine = cosine;
  }
  return best;
}

}  // namespace norv::internal
