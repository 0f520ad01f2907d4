#include "tools/input/calibration_input.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "support/file.h"
#include "support/message_parsing.h"
#include "support/text_error.h"
#include "support/text_fields.h"
#include "tools/input/stream_reading.h"
#include "tools/tool_error.h"

namespace norv::tools {
namespace {

constexpr const char* kStandardInput = "-";

/// Whether an error's place in the data would mean anything to the user.
bool looksLikeText(const std::string& data) {
  return std::none_of(data.begin(), data.end(), [](char c) {
    return static_cast<unsigned char>(c) < ' ' && c != '\n' && c != '\r' && c != '\t';
  });
}

bool beginsWith(const std::string& data, const char* bytes) {
  return data.compare(0, std::char_traits<char>::length(bytes), bytes) == 0;
}

/// What editors put at the beginning of a text and the format does not know; "" if there is none.
std::string byteOrderMarkOf(const std::string& data) {
  if (beginsWith(data, "\xef\xbb\xbf")) {
    return "begins with a byte order mark (bytes ef bb bf); save it as UTF-8 without one";
  }
  if (beginsWith(data, "\xff\xfe") || beginsWith(data, "\xfe\xff")) {
    return "begins with a byte order mark of UTF-16; save it as UTF-8 without one";
  }
  return "";
}

[[noreturn]] void refuseText(const CalibrationInput& input, const TextParseError& error) {
  if (error.line < 1) throw ToolError(fmt::format("{}: {}", input.name, error.message));
  const TextProblem problem = explainTextError(input.data, *input.text_type, error);
  throw ToolError(fmt::format("{}:{}:{}: {}{}{}", input.name, problem.place.line,
                              problem.place.column, problem.path, problem.path.empty() ? "" : ": ",
                              problem.text));
}

std::string describeReason(const std::string& path, const std::string& reason) {
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(path, error);
  if (status.type() == std::filesystem::file_type::not_found) return "there is no such file";
  if (std::filesystem::is_directory(status)) return "is a folder";
  return "cannot be read: " + reason;
}

}  // namespace

CalibrationInput readInput(const std::string& path) {
  CalibrationInput input;
  input.name = path;
  std::string reason;
  if (path == kStandardInput) {
    input.name = "standard input";
    if (!readStandardInput(&input.data, &reason)) {
      throw ToolError(fmt::format("{}: cannot be read: {}", input.name, reason));
    }
    return input;
  }
  const bool read = isStream(path) ? readStream(path, &input.data, &reason)
                                   : File::readFileToString(path, &input.data, &reason);
  if (!read) throw ToolError(fmt::format("{}: {}", path, describeReason(path, reason)));
  return input;
}

InputFormat parseInput(CalibrationInput* input, google::protobuf::Message* message) {
  if (parseBinary(input->data, message)) return InputFormat::kBinary;
  const std::string mark = byteOrderMarkOf(input->data);
  if (!mark.empty()) throw ToolError(fmt::format("{}: {}", input->name, mark));
  if (!looksLikeText(input->data)) {
    throw ToolError(fmt::format("{}: neither a binary nor a text-format {}", input->name,
                                message->GetDescriptor()->name()));
  }
  input->text_type = message->GetDescriptor();
  TextParseError error;
  if (!parseText(input->data, message, &error)) refuseText(*input, error);
  return InputFormat::kText;
}

std::string describeProblem(const CalibrationInput& input, const std::string& path,
                            const std::string& problem) {
  std::string place;
  if (input.text_type != nullptr) {
    const std::vector<TextField> fields = listTextFields(input.data, *input.text_type);
    const TextField* field = findField(fields, path);
    if (field != nullptr) place = fmt::format(":{}:{}", field->begin.line, field->begin.column);
  }
  return fmt::format("{}{}: {}: {}", input.name, place, path, problem);
}

}  // namespace norv::tools
