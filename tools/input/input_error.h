#pragma once

#include <string>
#include <utility>

#include "support/text_fields.h"
#include "tools/tool_error.h"

namespace norv::tools {

/// What is wrong with a file, and where in it.
struct InputProblem {
  std::string file;   ///< its name, for users and programs
  TextPlace place;    ///< line 0 where it has none
  std::string field;  ///< path of the field concerned; "" where there is none
  std::string text;
};

/// "FILE:LINE:COLUMN: field: text" with as much of that as is known.
std::string describe(const InputProblem& problem);

/// Input that is no calibration, or cannot be read. The error's text is `describe` of its problem.
class InputError : public ToolError {
 public:
  explicit InputError(InputProblem problem)
      : ToolError(describe(problem)), problem_(std::move(problem)) {}

  const InputProblem& problem() const { return problem_; }

 private:
  InputProblem problem_;
};

}  // namespace norv::tools
