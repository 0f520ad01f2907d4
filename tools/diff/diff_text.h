#pragma once

#include <string>

#include "tools/diff/diff_options.h"

namespace norv::tools {

/// A comparison as tables for people: pixels, millimetres and degrees. Lines are of at most 80
/// columns, unless a name in them is longer.
std::string diffText(const DiffResult& result);

}  // namespace norv::tools
