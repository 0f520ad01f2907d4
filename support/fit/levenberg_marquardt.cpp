#include "support/fit/levenberg_marquardt.h"

#include <Eigen/Cholesky>
#include <algorithm>
#include <cmath>
#include <optional>

#include "support/fit/normal_equations.h"
#include "support/numeric/infinity.h"

namespace norv::internal::fit {
namespace {

constexpr double kMinDamping = 1e-15;
constexpr double kMaxDamping = 1e12;
/// A decrease below this share of the noise's square cannot matter, however small the cost.
constexpr double kToleranceInNoise = 1e-5;
/// Where the model promises less than this share of the cost, rounding decides, and the search
/// ends.
constexpr double kMinPromise = 1e-14;
/// Squared pixels per point that are rounding alone.
constexpr double kNoCost = 2e-18;
/// Smallest diagonal element of the normal equations, relative to the largest.
constexpr double kMinDiagonal = 1e-14;
/// Stands for zero where something is divided by it.
constexpr double kTiny = 1e-300;

bool isFree(FreeParameters parameters, int index) {
  if (parameters == FreeParameters::kAll) return true;
  if (index == kFx || index >= kRotation) return true;
  if (parameters == FreeParameters::kPose) return false;
  return index == kCx || index == kCy || index == kK1 || index == kK1 + 1;
}

/// Normal equations of the free parameters, scaled by the root of their diagonal. The others have a
/// unit diagonal and no gradient, so that all matrices have the same size and their steps are zero.
class ScaledSystem {
 public:
  ScaledSystem(const NormalEquations& equations, FreeParameters parameters, double fy_per_fx)
      : matrix_(equations.matrix.selfadjointView<Eigen::Lower>()),
        gradient_(equations.gradient),
        fy_per_fx_(parameters == FreeParameters::kAll ? 0 : fy_per_fx) {
    // Where fy follows fx, a step of fx has the effect of both.
    matrix_.col(kFx) += fy_per_fx_ * matrix_.col(kFy);
    matrix_.row(kFx) += fy_per_fx_ * matrix_.row(kFy);
    gradient_[kFx] += fy_per_fx_ * gradient_[kFy];
    for (int i = 0; i < kParameterCount; ++i) {
      if (!isFree(parameters, i)) fix(i);
    }
    const double floor = kMinDiagonal * matrix_.diagonal().maxCoeff() + kTiny;
    scales_ = matrix_.diagonal().cwiseMax(floor).cwiseSqrt().cwiseInverse();
    for (int i = 0; i < kParameterCount; ++i) {
      if (isFree(parameters, i)) continue;
      matrix_(i, i) = 1;
      scales_[i] = 1;
    }
    matrix_ = scales_.asDiagonal() * matrix_ * scales_.asDiagonal();
    gradient_ = gradient_.cwiseProduct(scales_);
  }

  struct Step {
    ParameterVector step;
    double promised_decrease;
  };

  /// The damped step; nothing where rounding has made the matrix indefinite.
  std::optional<Step> step(double damping) const {
    const std::optional<ParameterVector> z = solve(damping, -gradient_);
    if (!z) return std::nullopt;
    Step result{z->cwiseProduct(scales_), z->dot(damping * *z - gradient_)};
    result.step[kFy] += fy_per_fx_ * result.step[kFx];
    return result;
  }

  /// Variance of slopes . parameters for unit noise.
  double variance(ParameterVector slopes) const {
    slopes[kFx] += fy_per_fx_ * slopes[kFy];
    if (fy_per_fx_ != 0) slopes[kFy] = 0;
    slopes = slopes.cwiseProduct(scales_);
    // The damping bounds the condition, with no effect on a variance that is of interest.
    const std::optional<ParameterVector> z = solve(1e-13, slopes);
    if (!z) return kInfinity;
    return std::max(slopes.dot(*z), 0.0);
  }

 private:
  void fix(int index) {
    matrix_.row(index).setZero();
    matrix_.col(index).setZero();
    gradient_[index] = 0;
  }

  std::optional<ParameterVector> solve(double damping, const ParameterVector& right) const {
    ParameterMatrix damped = matrix_;
    damped.diagonal().array() += damping;
    const Eigen::LLT<ParameterMatrix> llt(damped);
    if (llt.info() != Eigen::Success) return std::nullopt;
    return llt.solve(right);
  }

  ParameterMatrix matrix_;
  ParameterVector gradient_;
  double fy_per_fx_;
  ParameterVector scales_;
};

/// Damping after Nielsen: an accepted step lowers it by how well the model had foretold the
/// decrease, a rejected one raises it ever faster.
class Damping {
 public:
  explicit Damping(double first) : value_(first) {}

  double value() const { return value_; }

  void accept(double gain_ratio) {
    const double factor = std::max(1.0 / 3, 1 - std::pow(2 * gain_ratio - 1, 3));
    value_ = std::max(value_ * factor, kMinDamping);
    growth_ = 2;
  }

  void reject() {
    value_ *= growth_;
    growth_ *= 2;
  }

 private:
  double value_;
  double growth_ = 2;
};

/// Tries ever shorter steps until one lowers the cost; false when none does.
bool descend(const FitProblem& problem, const ScaledSystem& system, Damping* damping,
             FittedCamera* camera, double* cost) {
  while (damping->value() <= kMaxDamping) {
    const std::optional<ScaledSystem::Step> step = system.step(damping->value());
    if (step) {
      const FittedCamera trial = camera->moved(step->step);
      const double trial_cost = problem.cost(trial);
      if (trial_cost < *cost) {
        damping->accept((*cost - trial_cost) / std::max(step->promised_decrease, kTiny));
        *camera = trial;
        *cost = trial_cost;
        return true;
      }
      if (step->promised_decrease < kMinPromise * *cost) return false;
    }
    damping->reject();
  }
  return false;
}

}  // namespace

int countOf(FreeParameters parameters) {
  int count = 0;
  for (int i = 0; i < kParameterCount; ++i) count += isFree(parameters, i) ? 1 : 0;
  return count;
}

double minimize(const FitProblem& problem, FreeParameters parameters, const SolverOptions& options,
                FittedCamera* camera) {
  const double fy_per_fx = camera->intrinsics[kFy] / camera->intrinsics[kFx];
  const double negligible = kToleranceInNoise * problem.sigma * problem.sigma;
  const double no_cost = kNoCost * static_cast<double>(problem.view->points.size());
  Damping damping(options.first_damping);
  double cost = problem.cost(*camera);
  if (!std::isfinite(cost)) return kInfinity;
  int small_decreases = 0;
  for (int i = 0; i < options.max_steps && small_decreases < 2 && cost >= no_cost; ++i) {
    const double cost_before = cost;
    const ScaledSystem system(problem.linearize(*camera), parameters, fy_per_fx);
    if (!descend(problem, system, &damping, camera, &cost)) break;
    const bool small = cost_before - cost < options.relative_tolerance * cost_before + negligible;
    small_decreases = small ? small_decreases + 1 : 0;
  }
  return cost;
}

double logFocalLengthDeviation(const FitProblem& problem, FreeParameters parameters,
                               const FittedCamera& camera) {
  const double fx = camera.intrinsics[kFx];
  const double fy = camera.intrinsics[kFy];
  ParameterVector slopes = ParameterVector::Zero();
  slopes.head<2>() << 0.5 / fx, 0.5 / fy;
  const ScaledSystem system(problem.linearize(camera), parameters, fy / fx);
  return problem.sigma * std::sqrt(system.variance(slopes));
}

}  // namespace norv::internal::fit
