#pragma once

/// The levels that are enabled, channel by channel, and their first setting from NORV_LOG. What
/// asks for them is declared in support/log_level.h, where statements find it.

#include "support/log_level.h"

namespace norv::internal {

/// As setLogLevel (support/logging.h).
void setChannelLevel(const char* channel, int level);

}  // namespace norv::internal
