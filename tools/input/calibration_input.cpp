#include "tools/input/calibration_input.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <system_error>

#include "interop/peer_format.h"
#include "support/file.h"
#include "support/message_parsing.h"
#include "support/text_error.h"
#include "support/text_fields.h"
#include "tools/input/input_error.h"
#include "tools/input/json_reading.h"
#include "tools/input/stream_reading.h"

namespace norv::tools {
namespace {

constexpr const char* kStandardInput = "-";
constexpr const char* kDefault = "default";
constexpr const char* kDefaultFile = "calibration/default_head_cal.txt";

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

/// Throws what is wrong with an input as a whole.
[[noreturn]] void refuse(const std::string& name, const std::string& reason) {
  throw InputError({name, {}, "", reason});
}

[[noreturn]] void refuseText(const CalibrationInput& input, const TextParseError& error) {
  if (const auto format = interop::detectFormat(input.data)) {
    refuse(input.name, fmt::format("is a file of another program, format {}: camera-parameters "
                                   "import makes a calibration of it",
                                   interop::formatName(*format)));
  }
  if (error.line < 1) refuse(input.name, error.message);
  const TextProblem problem = explainTextError(input.data, *input.text_type, error);
  throw InputError({input.name, problem.place, problem.path, problem.text});
}

std::string describeReason(const std::string& path, const std::string& reason) {
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(path, error);
  if (status.type() == std::filesystem::file_type::not_found) return "there is no such file";
  if (std::filesystem::is_directory(status)) return "is a folder";
  return "cannot be read: " + reason;
}

}  // namespace

bool looksLikeText(const std::string& data) {
  return std::none_of(data.begin(), data.end(), [](char c) {
    return static_cast<unsigned char>(c) < ' ' && c != '\n' && c != '\r' && c != '\t';
  });
}

CalibrationInput readInput(const std::string& path) {
  CalibrationInput input;
  input.name = path;
  std::string reason;
  if (path == kStandardInput) {
    input.name = "standard input";
    if (!readStandardInput(&input.data, &reason)) {
      refuse(input.name, "cannot be read: " + reason);
    }
    return input;
  }
  if (path == kDefault) {
    input = readInput(EmbeddedFile::kEmbeddedPrefix + kDefaultFile);
    input.name = "compiled-in default calibration";
    return input;
  }
  const bool read = isStream(path) ? readStream(path, &input.data, &reason)
                                   : File::readFileToString(path, &input.data, &reason);
  if (!read) refuse(path, describeReason(path, reason));
  return input;
}

const char* formatName(InputFormat format) {
  switch (format) {
    case InputFormat::kBinary:
      return "binary";
    case InputFormat::kText:
      return "text";
    case InputFormat::kJson:
      break;
  }
  return "json";
}

InputFormat parseInput(CalibrationInput* input, google::protobuf::Message* message) {
  if (parseBinary(input->data, message)) return InputFormat::kBinary;
  if (looksLikeJson(input->data)) {
    const std::optional<JsonProblem> problem = readJson(input->data, message);
    if (problem) throw InputError({input->name, problem->place, problem->field, problem->text});
    return InputFormat::kJson;
  }
  const std::string mark = byteOrderMarkOf(input->data);
  if (!mark.empty()) refuse(input->name, mark);
  if (!looksLikeText(input->data)) {
    refuse(input->name,
           fmt::format("neither a binary nor a text-format {}", message->GetDescriptor()->name()));
  }
  input->text_type = message->GetDescriptor();
  TextParseError error;
  if (!parseText(input->data, message, &error)) refuseText(*input, error);
  return InputFormat::kText;
}

std::string describeProblem(const CalibrationInput& input, const std::string& path,
                            const std::string& problem) {
  TextPlace place = {};
  if (input.text_type != nullptr) {
    const std::vector<TextField> fields = listTextFields(input.data, *input.text_type);
    const TextField* field = findField(fields, path);
    if (field != nullptr) place = field->begin;
  }
  return describe({input.name, place, path, problem});
}

}  // namespace norv::tools
