#include "interop/format_problem.h"

#include <algorithm>
#include <cstddef>

namespace norv::interop {
namespace {

/// The place, or the end of what it lies beyond.
Place placeWithin(const Place& place, std::string_view text) {
  if (place.line <= 0) return place;
  std::size_t begin = 0;
  int line = 1;
  for (; line < place.line; ++line) {
    const std::size_t end = text.find('\n', begin);
    if (end == std::string_view::npos) break;
    begin = end + 1;
  }
  const std::size_t behind = std::min(text.find('\n', begin), text.size()) - begin + 1;
  const bool is_beyond =
      line < place.line || static_cast<std::size_t>(std::max(place.column, 0)) > behind;
  return {line, is_beyond ? static_cast<int>(behind) : place.column};
}

}  // namespace

std::string describe(const FormatProblem& problem) {
  std::string text = problem.file;
  if (problem.place.line > 0) text += ":" + std::to_string(problem.place.line);
  if (problem.place.column > 0) text += ":" + std::to_string(problem.place.column);
  if (!text.empty()) text += ": ";
  if (!problem.key.empty()) text += problem.key + ": ";
  return text + problem.sentence;
}

FormatProblem problemOf(const FormatError& error, const std::string& file, std::string_view text) {
  FormatProblem problem = error.problem();
  problem.file = file;
  problem.place = placeWithin(problem.place, text);
  return problem;
}

}  // namespace norv::interop
