#include "tools/adjust/adjust_command.h"

#include <filesystem>
#include <optional>
#include <system_error>

#include "proto/norv_robot_calibration.pb.h"
#include "support/message_printing.h"
#include "tools/adjust/adjust_report.h"
#include "tools/adjust/adjustment.h"
#include "tools/output/atomic_file.h"
#include "tools/output/backup.h"
#include "tools/tool_error.h"
#include "tools/usage/file_name.h"

namespace norv::tools {
namespace {

using calibration::RobotCalibration;

/// What stands for standard input and output among file names.
constexpr const char* kStandardStream = "-";

std::string printBinary(const RobotCalibration& robot) {
  std::string data;
  if (!robot.SerializeToString(&data)) {
    throw ToolError("the calibration is too large for the binary format");
  }
  return data;
}

/// A calibration is easily lost to a mistyped name.
void requireOtherFile(const std::string& output, const std::string& base) {
  if (output == kStandardStream || base == kStandardStream) return;
  std::error_code ignored;
  if (std::filesystem::equivalent(output, base, ignored)) {
    throw ToolError(output + ": is the base calibration, which is not to be written over");
  }
}

/// Switches, which have no value.
void addFlags(CLI::App* adjust, AdjustOptions* options) {
  CLI::Option* binary = adjust->add_flag("--binary", options->binary, "Write the binary format");
  adjust
      ->add_flag("--text", options->text,
                 "Write the text format, without comments (default: binary where CALIBRATION is "
                 "binary, else text)")
      ->excludes(binary);
  adjust->add_flag("--backup", options->backup,
                   "Keep what FILE was before as FILE.bak, or FILE.bak2 and so on where there is "
                   "one already");
  adjust->add_flag("--force", options->force,
                   "Write although the base or the moved calibration has an error");
  adjust->add_flag("--again", options->again, "Move cameras that this base moved before once more");
  adjust->add_flag("--json", options->json, "Print JSON for programs");
}

/// Why options do not go together; "" where they do.
std::string findConflict(const AdjustOptions& options) {
  if (options.path == kStandardStream && options.base_path == kStandardStream) {
    return "CALIBRATION and --base cannot both be standard input";
  }
  if (options.output_path != kStandardStream) return "";
  if (options.backup) return "--backup is for files, not for standard output";
  if (options.json) return "--json and --output cannot both be standard output";
  return "";
}

/// Writes the calibration to the file, and returns the name of the copy of what it was before, if
/// that is wanted and there was a file.
std::optional<std::string> writeFile(const AdjustOptions& options, const std::string& data) {
  requireOtherFile(options.output_path, options.base_path);
  if (!options.backup) {
    writeFileAtomically(options.output_path, data);
    return std::nullopt;
  }
  Backup backup(options.output_path);
  writeFileAtomically(options.output_path, data);
  backup.keep();
  return backup.path();
}

ToolAnswer refuse(const Adjustment& adjustment, const AdjustOutcome& outcome, bool as_json) {
  ToolAnswer answer;
  answer.status = kBadInput;
  if (as_json) {
    answer.output = adjustJson(adjustment, outcome);
  } else {
    answer.notes = findingLines(adjustment);
    answer.refusal = outcome.objection;
  }
  return answer;
}

}  // namespace

CLI::App* addAdjustCommand(CLI::App* app, AdjustOptions* options) {
  CLI::App* adjust = app->add_subcommand(
      "adjust",
      "Move the camera poses of a calibration by a base's global transform. What is written says "
      "by "
      "which transform each camera was moved, and is not moved by the same one again");
  requireFileName(
      adjust->add_option("CALIBRATION", options->path,
                         "Robot calibration in binary, text or JSON format; - is standard input"))
      ->required();
  requireFileName(
      adjust->add_option("--base", options->base_path,
                         "Base calibration in binary, text or JSON format; - is standard input"))
      ->type_name("BASE")
      ->required();
  requireFileName(
      adjust->add_option("--output", options->output_path,
                         "File to write; it may be CALIBRATION itself; - is standard output"))
      ->type_name("FILE")
      ->required();
  addFlags(adjust, options);
  adjust->callback([options] {
    const std::string conflict = findConflict(*options);
    if (!conflict.empty()) throw CLI::ValidationError(conflict);
  });
  return adjust;
}

ToolAnswer runAdjustCommand(const AdjustOptions& options) {
  const Adjustment adjustment = adjustFiles(options.path, options.base_path);
  const bool to_stream = options.output_path == kStandardStream;
  AdjustOutcome outcome;
  outcome.output = to_stream ? "standard output" : options.output_path;
  outcome.as_text = options.text || (adjustment.format != InputFormat::kBinary && !options.binary);
  outcome.objection = findObjection(adjustment, options.force, options.again);
  if (!outcome.objection.empty()) return refuse(adjustment, outcome, options.json);

  const std::string data =
      outcome.as_text ? printText(adjustment.adjusted) : printBinary(adjustment.adjusted);
  if (!to_stream) outcome.backup = writeFile(options, data);
  if (options.json) return {adjustJson(adjustment, outcome), ""};
  const std::string said = findingLines(adjustment) + writtenText(adjustment, outcome);
  return to_stream ? ToolAnswer{data, said} : ToolAnswer{said, ""};
}

}  // namespace norv::tools
