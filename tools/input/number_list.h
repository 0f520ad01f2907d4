#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>

namespace norv::tools {

/// N whole numbers of the range of int, in decimal, separated by commas and any blanks after those;
/// nullopt for anything else.
template <std::size_t N>
std::optional<std::array<int, N>> parseIntegers(const std::string& text);

/// N finite numbers, separated in the same way; nullopt for anything else.
template <std::size_t N>
std::optional<std::array<float, N>> parseNumbers(const std::string& text);

/// The same in double precision.
template <std::size_t N>
std::optional<std::array<double, N>> parseDoubles(const std::string& text);

/// A finite number, and nothing else; nullopt for anything else.
std::optional<double> parseNumber(const std::string& text);

}  // namespace norv::tools
