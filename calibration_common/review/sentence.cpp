#include "calibration_common/review/sentence.h"

#include <charconv>
#include <cmath>

#include "support/numeric/angles.h"

namespace norv::internal::review {
namespace {

std::string toDigits(double value, int significant) {
  char text[32];
  const auto end = std::to_chars(text, text + sizeof(text), value + 0.0, std::chars_format::general,
                                 significant);
  return {text, end.ptr};
}

}  // namespace

std::string number(double value) { return toDigits(value, 6); }

std::string pixels(double value) { return number(value) + " px"; }

std::string radiusText(double radius) {
  return "r = " + toDigits(radius, 4) + " (" + toDigits(degrees(std::atan(radius)), 4) + " deg)";
}

std::string percent(double fraction) { return toDigits(100 * fraction, 3) + " %"; }

}  // namespace norv::internal::review
