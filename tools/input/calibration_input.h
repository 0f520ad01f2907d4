#pragma once

/// Reading of calibration files by the tool, with errors that say where.

#include <google/protobuf/message.h>

#include <string>
#include <vector>

#include "tools/input/text_fields.h"

namespace norv::tools {

/// A file and how its contents are found back in it.
struct CalibrationInput {
  std::string name;  ///< the path, or what the compiled-in default is called
  std::string data;
  std::vector<TextField> fields;  ///< of a text; empty for a binary file
};

/// Reads a file. Throws ToolError when that fails.
CalibrationInput readInput(const std::string& path);

enum class InputFormat { kBinary, kText };

/// Parses the input as a binary message, else as text, and lists a text's fields. Returns which of
/// them it was. Throws ToolError with the place and field of a text's first error.
InputFormat parseInput(CalibrationInput* input, google::protobuf::Message* message);

/// "FILE:LINE:COLUMN: path: problem" with as much of the place as is known.
std::string describeProblem(const CalibrationInput& input, const std::string& path,
                            const std::string& problem);

}  // namespace norv::tools
