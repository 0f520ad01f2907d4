// The parent's own header.
#pragma once

namespace parent {
inline int file() { return 2; }
}  // namespace parent
