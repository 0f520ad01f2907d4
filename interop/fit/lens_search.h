#pragma once

#include <optional>

#include "interop/fit/lens_problem.h"

namespace norv::interop {

/// The lens with the least largest miss among those that have all the samples' rays on their first
/// branch (`validRadius`), in units of the plane z = 1; none where it is not found. Without
/// tangential coefficients that are free the target must be radial: one start suffices then. `near`
/// is another start, the coefficients in the problem's units, than which the answer is not worse.
/// Thread-safe; takes milliseconds.
std::optional<calibration::LensDistortion<double>> searchLens(
    const LensProblem& problem, const std::optional<LensCoefficients>& near);

}  // namespace norv::interop
