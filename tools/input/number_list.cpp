#include "tools/input/number_list.h"

#include <charconv>
#include <cmath>
#include <system_error>

namespace norv::tools {
namespace {

/// Reads numbers separated by commas, blanks before them or not; true when `text` is exactly
/// `count` of them.
template <class Number>
bool parseList(const std::string& text, Number* numbers, std::size_t count) {
  const char* at = text.data();
  const char* const end = at + text.size();
  for (std::size_t i = 0; i < count; ++i) {
    if (i > 0 && (at == end || *at++ != ',')) return false;
    while (at != end && *at == ' ') ++at;
    // The function knows no plus sign, and would take the minus of "+-1".
    if (at != end && *at == '+' && at + 1 != end && *(at + 1) != '-') ++at;
    const auto [stop, error] = std::from_chars(at, end, numbers[i]);
    if (error != std::errc()) return false;
    at = stop;
  }
  return at == end;
}

template <class Number, std::size_t N>
std::optional<std::array<Number, N>> parseFinite(const std::string& text) {
  std::array<Number, N> numbers;
  if (!parseList(text, numbers.data(), N)) return std::nullopt;
  for (const Number number : numbers) {
    if (!std::isfinite(number)) return std::nullopt;
  }
  return numbers;
}

}  // namespace

template <std::size_t N>
std::optional<std::array<int, N>> parseIntegers(const std::string& text) {
  std::array<int, N> numbers;
  if (!parseList(text, numbers.data(), N)) return std::nullopt;
  return numbers;
}

template <std::size_t N>
std::optional<std::array<float, N>> parseNumbers(const std::string& text) {
  return parseFinite<float, N>(text);
}

template <std::size_t N>
std::optional<std::array<double, N>> parseDoubles(const std::string& text) {
  return parseFinite<double, N>(text);
}

template std::optional<std::array<int, 2>> parseIntegers<2>(const std::string& text);
template std::optional<std::array<int, 3>> parseIntegers<3>(const std::string& text);
template std::optional<std::array<float, 2>> parseNumbers<2>(const std::string& text);
template std::optional<std::array<float, 3>> parseNumbers<3>(const std::string& text);
template std::optional<std::array<float, 4>> parseNumbers<4>(const std::string& text);
template std::optional<std::array<double, 2>> parseDoubles<2>(const std::string& text);
template std::optional<std::array<double, 3>> parseDoubles<3>(const std::string& text);
template std::optional<std::array<double, 4>> parseDoubles<4>(const std::string& text);

std::optional<double> parseNumber(const std::string& text) {
  double value = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || stop != end || !std::isfinite(value)) return std::nullopt;
  return value;
}

}  // namespace norv::tools
