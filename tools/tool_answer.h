#pragma once

#include <string>

namespace norv::tools {

/// Exit statuses of the program.
enum ExitStatus : int {
  kDone = 0,
  kBadInput = 1,    ///< the input is bad, or the output cannot be written
  kBadUsage = 2,    ///< the program was called wrongly
  kOutOfReach = 3,  ///< `aim`: the answer is there, but the head does not reach what was asked for
  kExceeded = 3,    ///< `diff`: the calibrations differ by more than they may
  kNoView = 3,      ///< `view`: there is no straightened picture as was asked for
};

/// What a verb answers.
struct ToolAnswer {
  std::string output;  ///< for standard output
  std::string notes;   ///< for standard error, where the output is not for people
  ExitStatus status = kDone;
  std::string refusal =
      {};  ///< why nothing was done, for standard error after the notes; mostly ""
};

}  // namespace norv::tools
