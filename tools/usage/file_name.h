#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace norv::tools {

/// Lets an option, or an argument, that names a file refuse the empty name: a shell makes one of a
/// variable that nobody has set. Returns the option.
inline CLI::Option* requireFileName(CLI::Option* option) {
  return option->check([](const std::string& name) {
    return name.empty() ? std::string("the name of the file is empty") : std::string();
  });
}

}  // namespace norv::tools
