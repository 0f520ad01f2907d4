#include "interop/format_problem.h"

namespace norv::interop {

std::string describe(const FormatProblem& problem) {
  std::string text = problem.file;
  if (problem.place.line > 0) text += ":" + std::to_string(problem.place.line);
  if (problem.place.column > 0) text += ":" + std::to_string(problem.place.column);
  if (!text.empty()) text += ": ";
  if (!problem.key.empty()) text += problem.key + ": ";
  return text + problem.sentence;
}

}  // namespace norv::interop
