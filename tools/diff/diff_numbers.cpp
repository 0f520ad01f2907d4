#include "tools/diff/diff_numbers.h"

#include <fmt/format.h>

#include <cmath>
#include <limits>

#include "tools/input/number_list.h"

namespace norv::tools {
std::optional<double> parseDistance(const std::string& text) {
  if (text == "inf") return std::numeric_limits<double>::infinity();
  const std::optional<double> number = parseNumber(text);
  return number && *number > 0 ? number : std::nullopt;
}

std::optional<double> parseLimit(const std::string& text) {
  const std::optional<double> number = parseNumber(text);
  return number && *number >= 0 ? number : std::nullopt;
}

double toDegrees(double radians) { return radians * (180 / 3.14159265358979323846); }

std::string distanceText(double metres) {
  return std::isinf(metres) ? "infinity" : fmt::format("{:.6g} m", metres);
}

}  // namespace norv::tools
