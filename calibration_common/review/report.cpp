#include "calibration_common/review/report.h"

namespace norv::internal::review {

bool Report::list(Issue& issue) {
  Tally& tally = tallies_[{check_, issue.severity}];
  if (++tally.count > calibration::kMaxFindingsPerCheck) return false;
  tally.last = found_.size();
  found_.push_back({issue.severity, check_, std::move(issue.field), "", issue.size.width,
                    issue.size.height, issue.value, issue.threshold, "", 0});
  return true;
}

std::vector<Finding> Report::take() {
  for (const auto& [kind, tally] : tallies_) {
    const int more = tally.count - calibration::kMaxFindingsPerCheck;
    if (more <= 0) continue;
    Finding& last = found_[tally.last];
    last.unlisted = more;
    last.text += "; " + std::to_string(more) + " more are not listed";
  }
  tallies_.clear();
  return std::exchange(found_, {});
}

}  // namespace norv::internal::review
