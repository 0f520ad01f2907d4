#include "support/fit/fit_stages.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <optional>

#include "support/fit/fit_problem.h"
#include "support/fit/levenberg_marquardt.h"
#include "support/fit/priors.h"
#include "support/fit/regular_map.h"
#include "support/fit/start_search.h"

namespace norv::internal::fit {
namespace {

constexpr int kPointsForMildLens = 6;
constexpr int kPointsForAll = 12;

constexpr std::size_t kFamiliesKept = 2;
/// The pinhole family goes on while its cost is below so many times the best.
constexpr double kHopelessPinhole = 100;

// The damping begins low where the last solution is continued.
constexpr double kFirstDamping = 1e-3;
constexpr double kContinuedDamping = 1e-8;
constexpr SolverOptions kPoseOptions = {20, 1e-4, kFirstDamping};
constexpr SolverOptions kMildLensOptions = {30, 1e-5, kFirstDamping};
constexpr SolverOptions kAllOptions = {30, 1e-6, kFirstDamping};
constexpr SolverOptions kReweightedOptions = {60, 1e-9, kContinuedDamping};
constexpr SolverOptions kExactOptions = {100, 1e-9, kContinuedDamping};

constexpr double kFirstNoise = 1.0;  ///< pixels, this and the following
constexpr double kMaxNoise = 2.0;
constexpr int kNoiseEstimates = 4;
constexpr double kSameNoise = 0.05;  ///< of its logarithm
/// A view is taken for exact when its error is below half the smallest noise and, with priors as
/// weak as this noise makes them, falls to rounding.
constexpr double kExactNoise = 1e-3;
constexpr double kExactError = 2e-4;

/// The focal length needs no prior when the view gives its logarithm better than that.
constexpr double kKnownLogFocalLength = 0.15;

/// The fit of focal length and pose alone, with the lens of a family.
struct PoseFit {
  const LensFamily* family;
  FitProblem problem;
  FittedCamera camera;
  double cost;
};

/// For every family that has a start, best first.
std::vector<PoseFit> fitPoses(const PlanarView& view) {
  std::vector<PoseFit> fits;
  for (const LensFamily& family : kLensFamilies) {
    std::optional<FittedCamera> camera = findStart(view, family);
    if (!camera) continue;
    const FitProblem problem = {&view, Priors(family, camera->intrinsics[kFx], view.half_size),
                                kFirstNoise, std::nullopt};
    const double cost = minimize(problem, FreeParameters::kPose, kPoseOptions, &*camera);
    if (std::isfinite(cost)) fits.push_back({&family, problem, *camera, cost});
  }
  std::stable_sort(fits.begin(), fits.end(),
                   [](const PoseFit& a, const PoseFit& b) { return a.cost < b.cost; });
  return fits;
}

/// Goes on from there with all parameters that the number of points allows.
class Refinement {
 public:
  explicit Refinement(const PoseFit& fit)
      : family_(fit.family), problem_(fit.problem), camera_(fit.camera) {}

  Candidate run() {
    const int points = problem_.view->distinct_points;
    if (points >= kPointsForMildLens) {
      parameters_ = FreeParameters::kMildLens;
      solve(kMildLensOptions);
    }
    if (points >= kPointsForAll) parameters_ = FreeParameters::kAll;
    weightPriorsByNoise();
    if (points >= kPointsForMildLens) dropFocalLengthIfKnown();
    fadeOutPriorsIfExact();

    Priors priors = problem_.priors;
    priors.dropFocalLength();
    return {family_, camera_, squaredImageError(*problem_.view, camera_), priors.cost(camera_),
            problem_.sigma};
  }

 private:
  void solve(const SolverOptions& options) {
    problem_.regularity.emplace(camera_, *family_, problem_.view->half_size);
    minimize(problem_, parameters_, options, &camera_);
  }

  /// Noise of one coordinate that explains the image error, pixels.
  double noise() const {
    const double count = static_cast<double>(problem_.view->points.size());
    const double freedom = std::max(2 * count - countOf(parameters_), count / 2);
    return std::sqrt(squaredImageError(*problem_.view, camera_) / freedom);
  }

  void weightPriorsByNoise() {
    solve(kAllOptions);
    for (int i = 1; i <= kNoiseEstimates; ++i) {
      const double sigma = std::clamp(noise(), kMinNoise, kMaxNoise);
      const bool settled = i > 1 && std::abs(std::log(sigma / problem_.sigma)) < kSameNoise;
      if (settled) return;
      problem_.sigma = sigma;
      if (i < kNoiseEstimates) solve(kReweightedOptions);
    }
  }

  void dropFocalLengthIfKnown() {
    FitProblem without = problem_;
    without.priors.dropFocalLength();
    if (!(logFocalLengthDeviation(without, parameters_, camera_) < kKnownLogFocalLength)) return;
    problem_.priors.dropFocalLength();
    solve(kReweightedOptions);
  }

  void fadeOutPriorsIfExact() {
    if (!(noise() < 0.5 * kMinNoise)) return;
    Refinement exact = *this;
    exact.problem_.sigma = kExactNoise;
    exact.solve(kExactOptions);
    if (exact.noise() < kExactError) *this = exact;
  }

  const LensFamily* family_;
  FitProblem problem_;
  FittedCamera camera_;
  FreeParameters parameters_ = FreeParameters::kPose;
};

}  // namespace

std::vector<Candidate> fitCandidates(const PlanarView& view) {
  const std::vector<PoseFit> fits = fitPoses(view);
  std::vector<Candidate> candidates;
  for (std::size_t i = 0; i < fits.size(); ++i) {
    const bool hopeful =
        isPinhole(*fits[i].family) && fits[i].cost < kHopelessPinhole * fits[0].cost;
    if (i < kFamiliesKept || hopeful) candidates.push_back(Refinement(fits[i]).run());
  }
  return candidates;
}

}  // namespace norv::internal::fit
