#pragma once

#include <string>
#include <vector>

#include "tools/review/file_review.h"

namespace norv::tools {

/// How the user wants findings to count.
struct SeverityPolicy {
  bool strict = false;               ///< warnings are errors
  std::vector<std::string> allowed;  ///< checks whose findings are infos
};

/// Gives each finding of a review the severity that the policy wants. A file that does not load
/// keeps an error that says why, whatever is allowed: it is added where no other error is left.
void applyPolicy(const SeverityPolicy& policy, FileReview* review);

}  // namespace norv::tools
