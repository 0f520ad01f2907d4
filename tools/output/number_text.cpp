#include "tools/output/number_text.h"

#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <limits>

namespace norv::tools {
namespace {

/// Without the sign that NaN and zero can have.
template <class T>
T unsignedNothing(T value) {
  if (std::isnan(value)) return std::abs(value);
  return value == 0 ? 0 : value;
}

}  // namespace

std::string shortestText(float value) { return fmt::format("{}", unsignedNothing(value)); }

std::string nineDigits(double value) { return fmt::format("{:.9g}", unsignedNothing(value)); }

double shortestDouble(float value) {
  if (!std::isfinite(value)) return static_cast<double>(value);
  const std::string text = shortestText(value);
  double result = 0;
  std::from_chars(text.data(), text.data() + text.size(), result);
  return result;
}

double shortestIfFloat(double value) {
  if (!(std::abs(value) <= static_cast<double>(std::numeric_limits<float>::max()))) return value;
  const auto narrow = static_cast<float>(value);
  return static_cast<double>(narrow) == value ? shortestDouble(narrow) : value;
}

}  // namespace norv::tools
