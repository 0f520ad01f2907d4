#include "calibration_common/aiming/motor_joint.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "support/numeric/angles.h"

namespace norv::internal {
namespace {

using calibration::MotorBound;

constexpr int kLeast = std::numeric_limits<int>::min();
constexpr int kMost = std::numeric_limits<int>::max();

}  // namespace

MotorJoint::MotorJoint(double scale, double offset, int lowest, int highest, int now)
    : scale_(scale),
      offset_(offset),
      lowest_(std::min(lowest, highest)),  // where they cross the highest wins
      highest_(highest),
      now_(now) {
  if (!turns()) return;
  const double least = std::clamp<double>(std::ceil(offset_ - reach()), lowest_, highest_);
  highest_ = limited(std::floor(offset_ + reach()));
  lowest_ = static_cast<int>(least);
}

bool MotorJoint::turns() const {
  if (!std::isfinite(scale_) || !std::isfinite(offset_) || scale_ == 0) return false;
  return reach() * radiansPerStep() >= kPi && offset_ - reach() <= highest_ &&
         offset_ + reach() >= lowest_;
}

/// The angle is (steps - offset) * scale with three roundings of half a unit in 2^24: of the steps,
/// of the difference and of the product. They may make half a step, or 1e-6 radians.
double MotorJoint::reach() const {
  constexpr double kUnits = 16777216;
  const double allowed = std::max(0.5, 1e-6 / radiansPerStep());
  return (kUnits * allowed - std::abs(offset_)) / 3;
}

MotorFit MotorJoint::fit(double angle) const {
  const double turn = 2 * kPi / radiansPerStep();
  const double base = angle / scale_ + offset_;
  const double least = std::ceil((lowest_ - 0.5 - base) / turn);
  const double most = std::floor((highest_ + 0.5 - base) / turn);
  if (least <= most) {
    const double nearest = std::round((now_ - base) / turn);
    return {base + std::clamp(nearest, least, most) * turn, MotorBound::kNone};
  }
  const double above = base + least * turn - highest_;
  const double below = lowest_ - (base + most * turn);
  if (below < above) return {static_cast<double>(lowest_), MotorBound::kLowest, below};
  return {static_cast<double>(highest_), MotorBound::kHighest, above};
}

MotorJoint::WholeSteps MotorJoint::around(const MotorFit& fit) const {
  const bool is_highest = fit.bound == MotorBound::kHighest;
  const int inside = fit.bound == MotorBound::kNone ? 0 : 2;
  const double first = std::floor(fit.steps) - (is_highest ? inside : 0);
  const double last = std::ceil(fit.steps) + (is_highest ? 0 : inside);
  WholeSteps result = {0, {}};
  const int end = limited(last);
  for (int step = limited(first);; ++step) {
    result.values[result.count++] = step;
    if (step == end) return result;
  }
}

int MotorJoint::nearest(const MotorFit& fit) const { return limited(std::round(fit.steps)); }

int MotorJoint::limited(double steps) const {
  if (!(steps > lowest_)) return lowest_;
  return steps < highest_ ? static_cast<int>(steps) : highest_;
}

MotorJoint panJoint(const calibration::PTZCameraModel& model, int now) {
  const auto& head = model.getParams().pan_tilt();
  return {static_cast<double>(model.getPanTiltModel().getPanScale()),
          static_cast<double>(model.getPanTiltModel().getPanOffset()),
          head.has_min_pan() ? head.min_pan() : kLeast, head.has_max_pan() ? head.max_pan() : kMost,
          now};
}

MotorJoint tiltJoint(const calibration::PTZCameraModel& model, int now) {
  const auto& head = model.getParams().pan_tilt();
  return {static_cast<double>(model.getPanTiltModel().getTiltScale()),
          static_cast<double>(model.getPanTiltModel().getTiltOffset()),
          head.has_min_tilt() ? head.min_tilt() : kLeast,
          head.has_max_tilt() ? head.max_tilt() : kMost, now};
}

}  // namespace norv::internal
