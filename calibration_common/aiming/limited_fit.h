#pragma once

/// Motor positions for angles that the range of the motors may not hold.

#include <array>
#include <cstddef>
#include <optional>

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

/// An end of the range of one of the two joints.
enum class LimitEnd { kLowestPan, kHighestPan, kLowestTilt, kHighestTilt };

/// Ends of the ranges, each once.
struct LimitEnds {
  std::size_t count = 0;
  std::array<LimitEnd, 4> values = {};
};

/// The ends at which the anchor is seen nearest to where the angles have it of all positions
/// around: the joint cannot go on, to go back would lead away, and the other joint is where that
/// suits best. Of a range that leaves out the direction of the target mostly both.
LimitEnds limitEnds(const AimTask& task, const JointAngles& angles);

/// The positions for the angles if the range holds them; if not, those with the joint at `end` and
/// the other one where that suits best, or, without one, at whichever end comes nearest.
HeadFit fitLimited(const AimTask& task, const JointAngles& angles, std::optional<LimitEnd> end);

}  // namespace norv::internal
