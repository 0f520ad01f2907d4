#pragma once

/// Choices that formulas make for one number. Where several are computed at once, the same
/// functions of lanes choose for each (support/camera/lanes.h).

namespace norv::internal {

inline double select(bool condition, double yes, double no) { return condition ? yes : no; }
inline double absolute(double x) { return x < 0 ? -x : x; }
inline bool both(bool a, bool b) { return a && b; }
inline bool either(bool a, bool b) { return a || b; }
inline bool without(bool a, bool b) { return a && !b; }
inline bool anyOf(bool a) { return a; }
inline bool allOf(bool a) { return a; }

}  // namespace norv::internal
