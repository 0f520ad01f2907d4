#include "tools/validate/severity_policy.h"

#include <algorithm>
#include <optional>

namespace norv::tools {
namespace {

using calibration::Severity;

bool isError(const PlacedFinding& placed) { return placed.finding.severity == Severity::kError; }

bool hasError(const FileReview& review) {
  return std::any_of(review.findings.begin(), review.findings.end(), isError);
}

Severity wantedSeverity(const calibration::Finding& finding, const SeverityPolicy& policy) {
  const auto& allowed = policy.allowed;
  if (std::find(allowed.begin(), allowed.end(), finding.check) != allowed.end()) {
    return Severity::kInfo;
  }
  const bool raised = policy.strict && finding.severity == Severity::kWarning;
  return raised ? Severity::kError : finding.severity;
}

}  // namespace

void applyPolicy(const SeverityPolicy& policy, FileReview* review) {
  const bool had_error = hasError(*review);
  for (PlacedFinding& placed : review->findings) {
    placed.finding.severity = wantedSeverity(placed.finding, policy);
  }
  if (!had_error || hasError(*review) || !review->parsed) return;
  std::optional<PlacedFinding> problem = findLoadFinding(*review->input, *review->parsed);
  if (!problem) return;
  const auto behind =
      std::upper_bound(review->findings.begin(), review->findings.end(), *problem, standsBefore);
  review->findings.insert(behind, *std::move(problem));
}

}  // namespace norv::tools
