#pragma once

#include <string>

#include "tools/output/json_output.h"
#include "tools/review/file_review.h"

namespace norv::tools {

/// A finding for programs: docs/json.md.
json findingJson(const std::string& file, const PlacedFinding& placed);

}  // namespace norv::tools
