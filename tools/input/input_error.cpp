#include "tools/input/input_error.h"

#include <fmt/format.h>

namespace norv::tools {

std::string describe(const InputProblem& problem) {
  std::string text = problem.file;
  if (problem.place.line > 0) {
    text += fmt::format(":{}:{}", problem.place.line, problem.place.column);
  }
  text += ": ";
  if (!problem.field.empty()) text += problem.field + ": ";
  return text + problem.text;
}

}  // namespace norv::tools
