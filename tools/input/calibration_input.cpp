#include "tools/input/calibration_input.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "support/file.h"
#include "support/message_parsing.h"
#include "tools/tool_error.h"

namespace norv::tools {
namespace {

/// Whether an error's place in the data would mean anything to the user.
bool looksLikeText(const std::string& data) {
  return std::none_of(data.begin(), data.end(), [](char c) {
    return static_cast<unsigned char>(c) < ' ' && c != '\n' && c != '\r' && c != '\t';
  });
}

[[noreturn]] void refuseText(const CalibrationInput& input, const norv::TextParseError& error) {
  if (error.line < 1) throw ToolError(fmt::format("{}: {}", input.name, error.message));
  const TextField* field = fieldAt(input.fields, error.line, error.column);
  throw ToolError(fmt::format("{}:{}:{}: {}{}", input.name, error.line, error.column,
                              field != nullptr ? field->path + ": " : "", error.message));
}

std::string whyUnreadable(const std::string& path) {
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(path, error);
  if (status.type() == std::filesystem::file_type::not_found) return "there is no such file";
  if (std::filesystem::is_directory(status)) return "is a folder";
  return "cannot be read as a file of at most 2 GiB";
}

}  // namespace

CalibrationInput readInput(const std::string& path) {
  CalibrationInput input;
  input.name = path;
  if (!File::readFileToString(path, &input.data)) {
    throw ToolError(fmt::format("{}: {}", path, whyUnreadable(path)));
  }
  return input;
}

InputFormat parseInput(CalibrationInput* input, google::protobuf::Message* message) {
  if (norv::parseBinary(input->data, message)) return InputFormat::kBinary;
  if (!looksLikeText(input->data)) {
    throw ToolError(fmt::format("{}: neither a binary nor a text-format {}", input->name,
                                message->GetDescriptor()->name()));
  }
  input->fields = listTextFields(input->data, *message->GetDescriptor());
  norv::TextParseError error;
  if (!norv::parseText(input->data, message, &error)) refuseText(*input, error);
  return InputFormat::kText;
}

std::string describeProblem(const CalibrationInput& input, const std::string& path,
                            const std::string& problem) {
  const TextField* field = findField(input.fields, path);
  const std::string place =
      field != nullptr ? fmt::format(":{}:{}", field->line, field->column) : "";
  return fmt::format("{}{}: {}: {}", input.name, place, path, problem);
}

}  // namespace norv::tools
