#pragma once

/// The zoom, where it does not depend on the target.

#include "calibration_common/aiming/aim_task.h"

namespace norv::internal {

/// A zoom position within the range, and the end of the range that kept another one from being
/// chosen.
struct ChosenZoom {
  int zoom;
  calibration::MotorBound bound;
};

/// The present zoom, or the nearest position of the range.
ChosenZoom keepZoom(const calibration::ZoomRange& zooms, int now);

/// The zoom whose field of view, or focal length, comes nearest to the one that is asked for.
ChosenZoom chooseZoom(const AimTask& task);

}  // namespace norv::internal
