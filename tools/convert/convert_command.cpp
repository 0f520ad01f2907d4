#include "tools/convert/convert_command.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <vector>

#include "support/message_parsing.h"
#include "support/message_printing.h"
#include "support/printable_text.h"
#include "tools/convert/message_losses.h"
#include "tools/input/input_error.h"
#include "tools/input/json_reading.h"
#include "tools/input/text_comments.h"
#include "tools/output/atomic_file.h"
#include "tools/output/json_message.h"
#include "tools/tool_error.h"
#include "tools/usage/file_name.h"
#include "tools/usage/kind_option.h"

namespace norv::tools {
namespace {

using google::protobuf::Message;
using Paths = std::vector<std::string>;

/// What stands for standard output among file names.
constexpr const char* kStandardStream = "-";

InputFormat wantedFormat(const ConvertOptions& options) {
  if (options.binary) return InputFormat::kBinary;
  return options.text ? InputFormat::kText : InputFormat::kJson;
}

/// The name of a format in a sentence.
const char* describeFormat(InputFormat format) {
  switch (format) {
    case InputFormat::kBinary:
      return "the binary format";
    case InputFormat::kText:
      return "the text format";
    case InputFormat::kJson:
      break;
  }
  return "JSON";
}

std::string print(const Message& message, InputFormat format) {
  if (format == InputFormat::kText) return printText(message);
  if (format == InputFormat::kJson) return printJsonMessage(message);
  std::string data;
  if (!message.SerializeToString(&data)) {
    throw ToolError("the calibration is too large for the binary format");
  }
  return data;
}

bool read(const std::string& data, InputFormat format, Message* message) {
  if (format == InputFormat::kText) return parseText(data, message);
  if (format == InputFormat::kJson) return !readJson(data, message);
  return parseBinary(data, message);
}

/// The fields of `original` that `data` does not hold as they are. Throws ToolError when `data`
/// does not read back at all.
Paths findLosses(const Message& original, const std::string& data, InputFormat format) {
  const std::unique_ptr<Message> copy(original.New());
  if (!read(data, format, copy.get())) {
    throw ToolError(
        fmt::format("{} cannot hold the calibration: what is written does not read back",
                    describeFormat(format)));
  }
  if (copy->SerializeAsString() == original.SerializeAsString()) return {};
  return listDifferences(original, *copy);
}

/// The first few of the paths, and how many more there are.
std::string nameFields(const Paths& paths) {
  constexpr std::size_t kMaxNames = 10;
  std::string names;
  for (std::size_t i = 0; i < std::min(paths.size(), kMaxNames); ++i) {
    names += (i == 0 ? "" : ", ") + paths[i];
  }
  if (paths.size() > kMaxNames) names += fmt::format(" and {} more", paths.size() - kMaxNames);
  return names;
}

[[noreturn]] void refuseLosses(const CalibrationInput& input, InputFormat format,
                               const Paths& losses) {
  throw ToolError(fmt::format("{}: {} cannot hold {}; --lossy writes the rest", input.name,
                              describeFormat(format), nameFields(losses)));
}

std::string notesAbout(const CalibrationInput& input, InputFormat format, const Paths& losses) {
  std::string notes;
  if (!losses.empty()) {
    notes += fmt::format("note: {} does not hold {}\n", describeFormat(format), nameFields(losses));
  }
  if (format == InputFormat::kText && input.text_type != nullptr && hasComment(input.data)) {
    notes += "note: comments are not kept\n";
  }
  return notes;
}

void addFormats(CLI::App* convert, ConvertOptions* options) {
  CLI::Option* text =
      convert->add_flag("--text", options->text, "Write the text format, as a person would");
  CLI::Option* binary = convert->add_flag("--binary", options->binary, "Write the binary format");
  CLI::Option* json =
      convert->add_flag("--json", options->json, "Write JSON, by the mapping of Protocol Buffers");
  text->excludes(binary)->excludes(json);
  binary->excludes(json);
}

}  // namespace

CLI::App* addConvertCommand(CLI::App* app, ConvertOptions* options) {
  CLI::App* convert = app->add_subcommand(
      "convert",
      "Write a calibration in another format. It is read back first: nothing is written unless it "
      "is the same to the last bit");
  requireFileName(convert->add_option("FILE", options->path,
                                      "Calibration in binary, text or JSON format; - is standard "
                                      "input, default the compiled-in calibration of the fixed "
                                      "cameras"))
      ->required();
  addFormats(convert, options);
  requireFileName(convert->add_option("-o,--output", options->output_path,
                                      "File to write, which may be FILE itself; default: standard "
                                      "output, which - is too"))
      ->type_name("FILE");
  convert->add_flag("--lossy", options->lossy,
                    "Write all the same, and name, what the format cannot hold: fields that this "
                    "version does not know, say");
  addKindOption(convert, &options->kind, "What FILE holds");
  convert->callback([options] {
    if (options->text || options->binary || options->json) return;
    throw CLI::ValidationError("convert needs one of --text, --binary and --json");
  });
  return convert;
}

ToolAnswer runConvertCommand(const ConvertOptions& options) {
  CalibrationInput input = readInput(options.path);
  if (input.data.empty()) throw InputError({input.name, {}, "", "is empty"});
  const ParsedCalibration parsed = parseCalibration(&input, options.kind);
  if (options.kind) requireBestKind(input, parsed);
  const InputFormat format = wantedFormat(options);
  const std::string data = print(*parsed.message, format);
  const Paths losses = findLosses(*parsed.message, data, format);
  if (!losses.empty() && !options.lossy) refuseLosses(input, format, losses);
  const std::string notes = notesAbout(input, format, losses);
  if (options.output_path == kStandardStream) return {data, notes};
  writeFileAtomically(options.output_path, data);
  return {
      fmt::format("{}: the calibration of {}, written in {}\n", toPrintable(options.output_path),
                  describeKind(parsed.kind), describeFormat(format)),
      notes};
}

}  // namespace norv::tools
