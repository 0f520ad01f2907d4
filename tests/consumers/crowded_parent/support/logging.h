// The parent's own header.
#pragma once

namespace parent {
inline int logging() { return 1; }
}  // namespace parent
