#pragma once

#include <string>
#include <vector>

namespace norv::tools {

/// A number with so many decimals; one that rounds to zero has no sign, nor has NaN.
std::string formatFixed(double value, int decimals);
inline std::string formatFixed(float value, int decimals) {
  return formatFixed(static_cast<double>(value), decimals);
}

/// Rows of cells, each column as wide as its widest cell, right-aligned but for the first, two
/// blanks between them. Every line begins with `indent` blanks and ends in a line break.
std::string alignTable(const std::vector<std::vector<std::string>>& rows, int indent);

}  // namespace norv::tools
