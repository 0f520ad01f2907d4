#include "support/messages/decimal_text.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <system_error>

namespace norv::internal {
namespace {

/// Numbers in this range are written without an exponent.
constexpr double kMinPlain = 1e-5;
constexpr double kMaxPlain = 1e15;

/// Longer than any shortest number in either form: a sign, 17 digits, a point and four zeros before
/// them, or an exponent.
constexpr std::size_t kMaxLength = 32;

template <class T>
std::string shortest(T value) {
  const auto size = static_cast<double>(std::abs(value));
  const bool plain = size == 0 || (size >= kMinPlain && size < kMaxPlain);
  std::array<char, kMaxLength> digits;
  const std::to_chars_result written =
      std::to_chars(digits.data(), digits.data() + digits.size(), value,
                    plain ? std::chars_format::fixed : std::chars_format::scientific);
  return {digits.data(), written.ptr};
}

/// Of NaN and the infinities; the library's own words would be those of the format, too, but for
/// the payload of a NaN.
std::string writeSpecial(double value) {
  const std::string sign = std::signbit(value) ? "-" : "";
  return sign + (std::isnan(value) ? "nan" : "inf");
}

}  // namespace

std::string writeNumber(double value) {
  return std::isfinite(value) ? shortest(value) : writeSpecial(value);
}

std::string writeNumber(float value) {
  if (!std::isfinite(value)) return writeSpecial(static_cast<double>(value));
  const std::string text = shortest(value);
  double read = 0;
  std::from_chars(text.data(), text.data() + text.size(), read);
  // The digits name a double that a reader then rounds; where that is half-way between two floats
  // it may end at the other one.
  return static_cast<float>(read) == value ? text : shortest(static_cast<double>(value));
}

}  // namespace norv::internal
