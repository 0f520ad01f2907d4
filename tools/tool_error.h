#pragma once

#include <stdexcept>
#include <string>

namespace norv::tools {

/// Input that a command cannot work with. The text is complete, names the file, and is for the
/// user.
class ToolError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Input with which a command cannot be called in this way: the program was called wrongly.
class UsageError : public ToolError {
 public:
  using ToolError::ToolError;
};

}  // namespace norv::tools
