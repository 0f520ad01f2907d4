#pragma once

#include <sys/wait.h>

#include <cstdlib>
#include <string>

#include "testing/file_contents.h"
#include "testing/temporary_folder.h"

namespace norv::testing {

/// What a program did.
struct ProgramResult {
  int status;  ///< its exit status, or -1 when a signal ended it
  std::string output;
  std::string errors;
};

/// Runs a shell command with nothing on its standard input.
inline ProgramResult runProgram(const std::string& command) {
  const TemporaryFolder folder;
  const std::string redirected = "( " + command + " ) < /dev/null > '" + folder.path("output") +
                                 "' 2> '" + folder.path("errors") + "'";
  const int status = std::system(redirected.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, contentsOf(folder.path("output")),
          contentsOf(folder.path("errors"))};
}

}  // namespace norv::testing
