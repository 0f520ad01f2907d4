#include "interop/fit/lens_search.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

#include "interop/fit/least_largest.h"
#include "interop/fit/linear_start.h"
#include "interop/fit/rising_barrier.h"
#include "support/point_projection.h"

namespace norv::interop {
namespace {

using calibration::LensDistortion;

/// How the lens is kept from folding: more closely where it folds all the same, between the radii
/// or by its tangential terms.
constexpr std::array<RisingBarrier::Care, 4> kCares = {
    {{32, 1e-4}, {500, 1e-4}, {500, 0.01}, {500, 0.1}}};

/// Coefficients, in storage order, of lenses without a denominator.
constexpr std::size_t kPolynomial = 5;

/// p1, in storage order.
constexpr std::size_t kTangential = 2;

/// Of the linear fit where it can lead astray.
constexpr double kCaution = 0.01;

/// Whether the rays of all samples lie on the first branch of the lens, which is in units of the
/// plane.
bool holdsRays(const LensDistortion<double>& lens, const LensProblem& problem) {
  std::vector<double> points;
  for (const RaySample& sample : problem.samples) {
    points.insert(points.end(), {problem.unit * sample.ray.x, problem.unit * sample.ray.y, 1});
  }
  std::vector<double> pixels(2 * problem.samples.size());
  calibration::projectPoints({1, 1, 1, 1, 0, 0, 0, lens}, {points.data(), 3},
                             problem.samples.size(), {pixels.data(), 2});
  return std::all_of(pixels.begin(), pixels.end(), [](double x) { return std::isfinite(x); });
}

/// Infinity where a miss is not a number.
double largestMiss(const LensProblem& problem, const LensCoefficients& c) {
  double largest = 0;
  for (const RaySample& sample : problem.samples) {
    const double miss = missOf(problem, lensOf(c), sample).norm();
    if (std::isnan(miss)) return std::numeric_limits<double>::infinity();
    largest = std::max(largest, miss);
  }
  return largest;
}

/// The lens, brought towards the one that does nothing until the barrier is finite.
LensCoefficients broughtWithin(const RisingBarrier& barrier, const LensCoefficients& c) {
  for (double share = 1.0 / 64; share < 1; share *= 2) {
    LensCoefficients weaker = (1 - share) * c;
    if (std::isfinite(barrier.value(lensOf(weaker)))) return weaker;
  }
  return LensCoefficients::Zero();
}

LensCoefficients better(const LensProblem& problem, const LensCoefficients& a,
                        const LensCoefficients& b) {
  return largestMiss(problem, a) <= largestMiss(problem, b) ? a : b;
}

/// The best of what is reached from the starts that do not fold, else from one that the barrier
/// kept rising.
LensCoefficients bestFrom(const LensProblem& problem, const RisingBarrier& barrier,
                          const std::vector<LensCoefficients>& starts) {
  std::optional<LensCoefficients> best;
  for (const LensCoefficients& start : starts) {
    if (!std::isfinite(barrier.value(lensOf(start)))) continue;
    const LensCoefficients c = leastLargestMiss(problem, barrier, start);
    best = best ? better(problem, *best, c) : c;
  }
  if (best) return *best;
  return leastLargestMiss(problem, barrier, startWithin(problem, barrier));
}

/// The problem with the first coefficients alone, those of a polynomial.
LensProblem polynomialProblem(const LensProblem& problem) {
  LensProblem polynomial = problem;
  auto& free = polynomial.free;
  free.erase(std::remove_if(free.begin(), free.end(), [](auto i) { return i >= kPolynomial; }),
             free.end());
  return polynomial;
}

/// The starts of a problem that is not radial, where the linear fit alone can lead astray: that
/// fit with caution, and the polynomial's solution.
std::vector<LensCoefficients> startsOf(const LensProblem& problem, const RisingBarrier& barrier) {
  std::vector<LensCoefficients> starts = {linearStart(problem, kCaution)};
  const LensProblem polynomial = polynomialProblem(problem);
  if (polynomial.free.size() < problem.free.size()) {
    starts.push_back(bestFrom(polynomial, barrier, {linearStart(polynomial, 0)}));
  }
  return starts;
}

bool hasTangential(const LensProblem& problem) {
  return std::count(problem.free.begin(), problem.free.end(), kTangential) > 0;
}

LensCoefficients search(const LensProblem& problem, const RisingBarrier::Care& care,
                        const std::optional<LensCoefficients>& near) {
  const RisingBarrier barrier(problem.unit, care);
  if (!hasTangential(problem)) return bestFrom(problem, barrier, {linearStart(problem, 0)});
  std::vector<LensCoefficients> starts = startsOf(problem, barrier);
  if (near) starts.push_back(broughtWithin(barrier, *near));
  return bestFrom(problem, barrier, starts);
}

}  // namespace

std::optional<LensDistortion<double>> searchLens(const LensProblem& problem,
                                                 const std::optional<LensCoefficients>& near) {
  std::optional<LensCoefficients> best;
  if (near && holdsRays(inPlaneUnits(problem, *near), problem)) best = near;
  for (const RisingBarrier::Care& care : kCares) {
    const LensCoefficients c = search(problem, care, near);
    if (!holdsRays(inPlaneUnits(problem, c), problem)) continue;
    best = best ? better(problem, *best, c) : c;
    break;
  }
  if (!best) return std::nullopt;
  return inPlaneUnits(problem, *best);
}

}  // namespace norv::interop
