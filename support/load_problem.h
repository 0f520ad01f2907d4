#pragma once

/// Why a calibration does not load, as a value. Conventions: docs/conventions.md.

#include <string>

namespace norv {

/// What keeps a calibration from being loaded. A plain value.
struct LoadProblem {
  std::string field;     ///< path of the field in the message, such as "intrinsics.radial"
  std::string sentence;  ///< what is wrong with it, for a person to read
};

}  // namespace norv
