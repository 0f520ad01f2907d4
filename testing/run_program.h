#pragma once

#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

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
  const auto contents = [&](const char* name) {
    std::ostringstream text;
    text << std::ifstream(folder.path(name), std::ios::binary).rdbuf();
    return text.str();
  };
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, contents("output"), contents("errors")};
}

}  // namespace norv::testing
