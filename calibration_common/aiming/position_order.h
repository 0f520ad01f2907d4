#pragma once

/// The order of positions.

#include "calibration_common/aiming/aim_task.h"

namespace norv::internal {

/// How upright the picture is: the cosine of the angle from the camera's down to the base frame's.
double uprightness(const HeadPose& camera_from_base);

/// Adds a position, unless it is there already or has none of its own: those that a limit keeps
/// from the target give way to those that none does.
void addPosition(const calibration::AimPosition& position, calibration::Aim* aim);

/// Puts the positions into the order that is asked for. Of those that a limit keeps from the target
/// one that misses by less than half the angle comes first.
void sortPositions(const AimTask& task, calibration::Aim* aim);

}  // namespace norv::internal
