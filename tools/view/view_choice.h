#pragma once

#include "tools/view/view_options.h"

namespace norv::tools {

/// The view that the options name. Throws ToolError, with the choice that there is, where they name
/// none or more than one.
NamedView chooseView(const ViewVerbOptions& options);

}  // namespace norv::tools
