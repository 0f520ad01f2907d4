#pragma once

/// What the answers of pan-tilt heads are called, and the exceptions for those that are none. All
/// functions need the interpreter's lock.

#include "calibration_common/pan_tilt_model.h"

namespace norv::python {

/// "solved", "no-candidate", "high-residual", "large-residual".
const char* verdictWord(calibration::PanTiltVerdict verdict);

/// "reached", "any-pan", "any-tilt", "out-of-reach", "behind", "parallel-axes", "not-finite".
const char* reachWord(calibration::PanTiltReach reach);

/// Throws NoSolutionError about a pixel without a ray.
[[noreturn]] void throwNoRay(const Vector2_f& pixel);

/// Throws NoSolutionError about what the solver did not solve, or not to a number.
[[noreturn]] void throwUnsolved(const calibration::PanTiltSolution& solution);

}  // namespace norv::python
