#include "calibration_common/aiming/limited_fit.h"

#include <limits>

namespace norv::internal {
namespace {

using calibration::MotorBound;

MotorFit endOf(const MotorJoint& joint, MotorBound end) {
  const int steps = end == MotorBound::kLowest ? joint.lowest() : joint.highest();
  return {static_cast<double>(steps), end};
}

/// Tries the ends of the ranges and keeps the best.
class LimitedSearch {
 public:
  LimitedSearch(const AimTask& task, const JointAngles& angles)
      : task_(task), ray_(task.chain.pointAt(angles).at) {}

  void tryPan(MotorBound end) {
    HeadFit fit = {endOf(task_.pan, end), {}};
    fit.tilt = tiltFor(fit.pan);
    if (fit.tilt.bound != MotorBound::kNone) fit.pan = panFor(fit.tilt);
    keep(fit);
  }

  void tryTilt(MotorBound end) {
    HeadFit fit = {{}, endOf(task_.tilt, end)};
    fit.pan = panFor(fit.tilt);
    if (fit.pan.bound != MotorBound::kNone) {
      fit.tilt = tiltFor(fit.pan);
    }
    keep(fit);
  }

  const HeadFit& best() const { return best_; }

 private:
  MotorFit tiltFor(const MotorFit& pan) const {
    return task_.tilt.fit(task_.chain.bestTilt({task_.pan.angleAt(pan.steps), 0}, ray_));
  }

  MotorFit panFor(const MotorFit& tilt) const {
    return task_.pan.fit(task_.chain.bestPan({0, task_.tilt.angleAt(tilt.steps)}, ray_));
  }

  void keep(const HeadFit& fit) {
    const Eigen::Vector3d point =
        task_.chain.pointAt({task_.pan.angleAt(fit.pan.steps), task_.tilt.angleAt(fit.tilt.steps)})
            .at;
    const double cosine = cosineBetween(point, ray_);
    if (!(cosine > best_cosine_)) return;
    best_ = fit;
    best_cosine_ = cosine;
  }

  const AimTask& task_;
  Eigen::Vector3d ray_;
  HeadFit best_ = {};
  double best_cosine_ = -std::numeric_limits<double>::infinity();
};

}  // namespace

HeadFit fitEach(const AimTask& task, const JointAngles& angles) {
  return {task.pan.fit(angles.pan), task.tilt.fit(angles.tilt)};
}

HeadFit fitLimited(const AimTask& task, const JointAngles& angles) {
  const HeadFit each = fitEach(task, angles);
  if (!each.isLimited()) return each;
  LimitedSearch search(task, angles);
  for (const MotorBound end : {MotorBound::kLowest, MotorBound::kHighest}) {
    if (each.pan.bound != MotorBound::kNone) search.tryPan(end);
    if (each.tilt.bound != MotorBound::kNone) search.tryTilt(end);
  }
  return search.best();
}

}  // namespace norv::internal
