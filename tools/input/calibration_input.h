#pragma once

/// Reading of calibration files by the tool, with errors that say where.

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include <string>

namespace norv::tools {

/// A file and how its contents are found back in it.
struct CalibrationInput {
  /// The path as it was given, or what the input is called that has none: for programs, and for
  /// users once it is made printable.
  std::string name;
  std::string data;
  /// What a text was parsed as; null for binary and JSON, whose fields have no places.
  const google::protobuf::Descriptor* text_type = nullptr;
};

/// Reads a file, or standard input where the path is "-", or the compiled-in calibration of the
/// fixed cameras where it is "default". Throws InputError when that fails.
CalibrationInput readInput(const std::string& path);

/// Whether the data is text in whose lines and columns a user can find something: it has no control
/// character but the ends of lines and tabs.
bool looksLikeText(const std::string& data);

enum class InputFormat { kBinary, kText, kJson };

/// "binary", "text" or "json".
const char* formatName(InputFormat format);

/// Parses the input as a binary message, else as JSON where it looks like that, else as text, and
/// notes that it was text; returns which of them it was. Throws InputError with the place and field
/// of a text's first error, and with the place or the field of JSON's.
InputFormat parseInput(CalibrationInput* input, google::protobuf::Message* message);

/// "FILE:LINE:COLUMN: path: problem" with as much of the place as is known. Reads a text anew to
/// find the place: for the few problems that are shown to a user.
std::string describeProblem(const CalibrationInput& input, const std::string& path,
                            const std::string& problem);

}  // namespace norv::tools
