#pragma once

#include <string>

#include "tools/diff/diff_options.h"

namespace norv::tools {

/// All figures of a comparison for programs: metres, degrees, pixels; infinity and NaN are null.
std::string diffJson(const DiffResult& result);

}  // namespace norv::tools
