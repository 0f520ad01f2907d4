#pragma once

#include "tools/view/view_options.h"

namespace norv::tools {

/// The view that the options name, with what is to be said of its camera. Throws ToolError where
/// the file has no such view, and UsageError, with the choice that there is, where options are
/// missing or do not go with the file.
NamedView chooseView(const ViewVerbOptions& options);

}  // namespace norv::tools
