#pragma once

#include <Eigen/Core>

#include "support/fit/fit_problem.h"
#include "support/fit/fitted_camera.h"

namespace norv::internal::fit {

/// Which unknowns are fitted; the others keep their values.
enum class FreeParameters {
  kPose,      ///< one focal length (fx and fy keep their ratio) and the pose: 7
  kMildLens,  ///< these, the principal point, k1 and k2: 11
  kAll,       ///< all 18
};

/// Number of them.
int countOf(FreeParameters parameters);

/// When to stop, and how cautiously to begin.
struct SolverOptions {
  int max_steps;
  double relative_tolerance;  ///< two successive relative decreases of the cost below this end it
  double first_damping;
};

/// Minimises `problem` from `*camera` on by the method of Levenberg and Marquardt, with normal
/// equations scaled to a unit diagonal and Nielsen's damping (Madsen, Nielsen and Tingleff, Methods
/// for Non-Linear Least Squares Problems, 2nd ed., IMM 2004, section 3.2). Returns the cost. Where
/// it is infinite to begin with, it stays so, and `*camera` stays as it was. The cost never rises,
/// and the number of evaluations is bounded.
double minimize(const FitProblem& problem, FreeParameters parameters, const SolverOptions& options,
                FittedCamera* camera);

/// Standard deviation of ln sqrt(fx fy) that the rows of `problem` leave, all free parameters being
/// unknown, at noise of `problem.sigma`. The cost at `camera` is finite.
double logFocalLengthDeviation(const FitProblem& problem, FreeParameters parameters,
                               const FittedCamera& camera);

}  // namespace norv::internal::fit
