#include "tools/aim/track_line.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "tools/input/number_list.h"

namespace norv::tools {
namespace {

constexpr const char* kBlanks = " \t";

/// The words between commas or blanks. A comma too many makes an empty word.
std::vector<std::string> wordsOf(const std::string& text) {
  std::vector<std::string> words;
  std::size_t at = text.find_first_not_of(kBlanks);
  while (at != std::string::npos) {
    const std::size_t end = std::min(text.find_first_of(" \t,", at), text.size());
    words.push_back(text.substr(at, end - at));
    at = text.find_first_not_of(kBlanks, end);
    if (at == std::string::npos || text[at] != ',') continue;
    at = text.find_first_not_of(kBlanks, at + 1);
    if (at == std::string::npos) words.emplace_back();
  }
  return words;
}

/// A number of the range of single precision, in which cameras are; a plus sign may stand before.
std::optional<double> parseCoordinate(const std::string& word) {
  const bool has_plus = word.size() > 1 && word[0] == '+' && word[1] != '-';
  const std::optional<double> number = parseNumber(has_plus ? word.substr(1) : word);
  constexpr auto kMost = static_cast<double>(std::numeric_limits<float>::max());
  return number && std::abs(*number) <= kMost ? number : std::nullopt;
}

}  // namespace

TrackLine parseTrackLine(const std::string& line) {
  const std::vector<std::string> words = wordsOf(line.substr(0, line.find('#')));
  if (words.empty()) return {};
  if (words.size() != 3 && words.size() != 4) {
    return {std::nullopt, fmt::format("holds {} values, not X,Y,Z or TIME,X,Y,Z", words.size())};
  }
  std::vector<double> numbers;
  for (const std::string& word : words) {
    const std::optional<double> number = parseCoordinate(word);
    if (!number) return {std::nullopt, "not a finite number: " + word};
    numbers.push_back(*number);
  }
  const double* const point = &numbers[words.size() - 3];
  return {TrackTarget{words.size() == 4 ? words[0] : "", {point[0], point[1], point[2]}}, ""};
}

}  // namespace norv::tools
