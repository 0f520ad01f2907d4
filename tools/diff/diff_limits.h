#pragma once

#include <string>
#include <vector>

#include "tools/diff/diff_options.h"

namespace norv::tools {

/// Which limits are exceeded, a sentence each; empty where none is, and without limits. A camera or
/// an image size that B lacks exceeds them, and so do rays that B does not image and images of
/// which nothing can be compared: then no figure vouches for B.
std::vector<std::string> findExceeded(const Difference& difference, const DiffLimits& limits);

}  // namespace norv::tools
