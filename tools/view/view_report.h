#pragma once

#include <string>

#include "tools/view/view_options.h"

namespace norv::tools {

/// A camera's view for people, in at most 80 columns but for long names, and for programs.
std::string viewText(const ViewAnswer& answer);
std::string viewJson(const ViewAnswer& answer);

}  // namespace norv::tools
