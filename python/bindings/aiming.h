#pragma once

/// Where a pan-tilt-zoom camera must go. To be bound after PTZCameraModel and its configuration.

#include <pybind11/pybind11.h>

#include "python/bindings/aim_request.h"
#include "python/bindings/aim_verdict.h"
#include "python/bindings/heads.h"

namespace norv::python {

/// An answer, of one position at least.
struct AimAnswer {
  calibration::Aim aim;
  Verdict verdict;
};

/// An answer as plain objects of Python, and back. Throws ValueError for a state that is none.
py::tuple stateOf(const AimAnswer& answer);
AimAnswer answerOfState(const py::tuple& state);

/// The classes Aim and AimPosition.
void bindAimAnswers(py::module_& module);
/// `aim` of models and configurations.
void bindAiming(py::module_& module);
/// `track`, and the class AimTrack of its answers.
void bindTracking(py::module_& module);
/// `can_see` and `coverage`.
void bindPtzCoverage(py::module_& module);

}  // namespace norv::python
