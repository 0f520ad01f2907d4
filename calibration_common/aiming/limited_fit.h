#pragma once

/// Motor positions for angles that the range of the motors may not hold.

#include "calibration_common/aiming/aim_task.h"

namespace norv::internal {

/// Positions of the two motors, not rounded.
struct HeadFit {
  MotorFit pan;
  MotorFit tilt;

  bool isLimited() const {
    return pan.bound != calibration::MotorBound::kNone ||
           tilt.bound != calibration::MotorBound::kNone;
  }
};

/// The positions for the angles, each motor for itself.
HeadFit fitEach(const AimTask& task, const JointAngles& angles);

/// The positions within the range from which the anchor is seen nearest to where the angles have
/// it: one joint at an end of its range, the other where that suits best.
HeadFit fitLimited(const AimTask& task, const JointAngles& angles);

}  // namespace norv::internal
