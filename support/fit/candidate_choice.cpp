#include "support/fit/candidate_choice.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <optional>

#include "support/fit/regular_map.h"
#include "support/numeric/infinity.h"

namespace norv::internal::fit {
namespace {

/// A regular lens may have so many times the squared error of one that folds.
constexpr double kPriceOfRegularity = 4;

// What speaks for the polynomial, in squared standard deviations: a clear advantage alone; or a
// small disadvantage where the two lenses agree at the corner to that share.
constexpr double kClearAdvantage = 25;
constexpr double kSmallDisadvantage = 4;
constexpr double kAgreement = 0.02;

/// A candidate in comparison with the others.
struct Entry {
  const Candidate* candidate;
  double cost;          ///< squared pixels, the priors weighted alike in all
  double corner_ratio;  ///< 0 for lenses that are not regular
};

/// Square of the smallest noise found, which all are judged by.
double commonVariance(const std::vector<Candidate>& candidates) {
  double sigma = kInfinity;
  for (const Candidate& candidate : candidates) sigma = std::min(sigma, candidate.sigma);
  return sigma * sigma;
}

std::vector<Entry> compare(const PlanarView& view, const std::vector<Candidate>& candidates,
                           double variance) {
  std::vector<Entry> entries;
  entries.reserve(candidates.size());
  for (const Candidate& candidate : candidates) {
    entries.push_back({&candidate, candidate.squared_error + variance * candidate.prior_cost,
                       cornerRatio(candidate.camera, view.half_size).value_or(0)});
  }
  return entries;
}

double smallestSquaredError(const std::vector<Entry>& entries) {
  double smallest = kInfinity;
  for (const Entry& entry : entries) smallest = std::min(smallest, entry.candidate->squared_error);
  return smallest;
}

std::vector<Entry> regularOnes(const PlanarView& view, const std::vector<Entry>& entries) {
  std::vector<Entry> regular;
  std::copy_if(entries.begin(), entries.end(), std::back_inserter(regular),
               [](const Entry& entry) { return entry.corner_ratio > 0; });
  const double affordable = kPriceOfRegularity * smallestSquaredError(entries) +
                            kMinNoise * kMinNoise * static_cast<double>(view.points.size());
  return smallestSquaredError(regular) <= affordable ? regular : entries;
}

/// The cheapest of those from the pinhole family, or of the others.
const Entry* cheapest(const std::vector<Entry>& entries, bool pinhole) {
  const Entry* best = nullptr;
  for (const Entry& entry : entries) {
    if (isPinhole(*entry.candidate->family) != pinhole) continue;
    if (best == nullptr || entry.cost < best->cost) best = &entry;
  }
  return best;
}

bool prefersPolynomial(const Entry& polynomial, const Entry& rational, double variance) {
  if (polynomial.cost < rational.cost - kClearAdvantage * variance) return true;
  return polynomial.cost <= rational.cost + kSmallDisadvantage * variance &&
         std::abs(polynomial.corner_ratio - rational.corner_ratio) <=
             kAgreement * rational.corner_ratio;
}

}  // namespace

const Candidate& chooseCandidate(const PlanarView& view, const std::vector<Candidate>& candidates) {
  const double variance = commonVariance(candidates);
  const std::vector<Entry> entries = regularOnes(view, compare(view, candidates, variance));
  const Entry* const polynomial = cheapest(entries, true);
  const Entry* const rational = cheapest(entries, false);
  if (rational == nullptr) return *polynomial->candidate;
  if (polynomial == nullptr) return *rational->candidate;
  return *(prefersPolynomial(*polynomial, *rational, variance) ? polynomial : rational)->candidate;
}

}  // namespace norv::internal::fit
