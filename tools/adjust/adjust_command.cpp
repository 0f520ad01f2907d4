#include "tools/adjust/adjust_command.h"

#include <fmt/format.h>
#include <google/protobuf/text_format.h>

#include <filesystem>
#include <system_error>

#include "calibration_common/base_calibration_data.h"
#include "calibration_common/camera_parameters.h"
#include "support/printable_text.h"
#include "tools/input/calibration_kind.h"
#include "tools/input/camera_loading.h"
#include "tools/output/atomic_file.h"
#include "tools/review/repeated_names.h"
#include "tools/tool_error.h"
#include "tools/usage/file_name.h"

namespace norv::tools {
namespace {

using calibration::BaseCalibrationData;
using calibration::BaseCalibrationProto;
using calibration::CameraParametersSet;
using calibration::RobotCalibration;

/// What stands for standard input and output among file names.
constexpr const char* kStandardStream = "-";

std::string printText(const RobotCalibration& robot) {
  // Fields of a later version have numbers only, which would not read back.
  RobotCalibration known = robot;
  known.DiscardUnknownFields();
  std::string text;
  if (!google::protobuf::TextFormat::PrintToString(known, &text)) {
    throw ToolError("the calibration is too large for the text format");
  }
  return text;
}

std::string printBinary(const RobotCalibration& robot) {
  std::string data;
  if (!robot.SerializeToString(&data)) {
    throw ToolError("the calibration is too large for the binary format");
  }
  return data;
}

RobotCalibration loadRobot(CalibrationInput* input, InputFormat* format) {
  RobotCalibration robot;
  *format = parseExpected(input, CalibrationKind::kRobot, &robot);
  if (robot.camera_calibration().empty()) {
    throw ToolError(input->name + ": holds no camera that could be moved");
  }
  for (int i = 0; i < robot.camera_calibration_size(); ++i) {
    loadCamera(*input, i, robot.camera_calibration(i));
  }
  return robot;
}

/// The calibration with every camera moved.
RobotCalibration moveCameras(const CalibrationInput& input, const RobotCalibration& robot,
                             const BaseCalibrationData& base) {
  CameraParametersSet set;
  // Otherwise the default calibration would be in force, and written.
  if (!set.loadFromProto(robot)) throw ToolError(input.name + ": cannot be loaded");
  set.adjustUsingBaseCalibration(base);
  return set.getRobotCalibration();
}

std::string describeWriting(const std::string& output, const std::string& base,
                            const RobotCalibration& adjusted, bool as_text) {
  const int count = adjusted.camera_calibration_size();
  return fmt::format("{}: {} camera{} moved by the global transform of {}, written in {} format\n",
                     toPrintable(output), count, count == 1 ? "" : "s", toPrintable(base),
                     as_text ? "text" : "binary");
}

/// What the user may not expect of a calibration that was written.
std::string notesAbout(const RobotCalibration& robot, bool as_text) {
  std::string notes;
  for (const std::string& name : findRepeatedNames(robot)) {
    notes += fmt::format(
        "note: \"{}\" is listed more than once; all entries are of the last one's camera, which "
        "was moved once for each\n",
        toPrintable(name));
  }
  const int unknown = as_text ? countUnknownFields(robot) : 0;
  if (unknown > 0) {
    notes +=
        fmt::format("note: fields that this version does not know were left out: {}\n", unknown);
  }
  return notes;
}

/// A calibration is easily lost to a mistyped name.
void requireOtherFile(const std::string& output, const std::string& base) {
  if (output == kStandardStream || base == kStandardStream) return;
  std::error_code ignored;
  if (std::filesystem::equivalent(output, base, ignored)) {
    throw ToolError(output + ": is the base calibration, which is not to be written over");
  }
}

}  // namespace

CLI::App* addAdjustCommand(CLI::App* app, AdjustOptions* options) {
  CLI::App* adjust = app->add_subcommand(
      "adjust",
      "Move the camera poses of a calibration by a base's global transform. What is written does "
      "not show that it was moved: doing it twice moves twice");
  requireFileName(adjust->add_option("CALIBRATION", options->path,
                                     "Robot calibration, binary or text; - is standard input"))
      ->required();
  requireFileName(adjust->add_option("--base", options->base_path,
                                     "Base calibration, binary or text; - is standard input"))
      ->type_name("BASE")
      ->required();
  requireFileName(
      adjust->add_option("--output", options->output_path,
                         "File to write; it may be CALIBRATION itself; - is standard output"))
      ->type_name("FILE")
      ->required();
  CLI::Option* binary = adjust->add_flag("--binary", options->binary, "Write the binary format");
  adjust
      ->add_flag("--text", options->text,
                 "Write the text format, without comments (default: that of CALIBRATION)")
      ->excludes(binary);
  adjust->callback([options] {
    if (options->path == kStandardStream && options->base_path == kStandardStream) {
      throw CLI::ValidationError("CALIBRATION and --base cannot both be standard input");
    }
  });
  return adjust;
}

ToolAnswer runAdjustCommand(const AdjustOptions& options) {
  CalibrationInput input = readInput(options.path);
  InputFormat format = InputFormat::kBinary;
  const RobotCalibration robot = loadRobot(&input, &format);
  CalibrationInput base_input = readInput(options.base_path);
  BaseCalibrationProto base_message;
  parseExpected(&base_input, CalibrationKind::kBase, &base_message);
  const RobotCalibration adjusted = moveCameras(input, robot, *loadBase(base_input, base_message));

  const bool as_text = options.text || (format == InputFormat::kText && !options.binary);
  const std::string data = as_text ? printText(adjusted) : printBinary(adjusted);
  const bool to_stream = options.output_path == kStandardStream;
  const std::string said = describeWriting(to_stream ? "standard output" : options.output_path,
                                           base_input.name, adjusted, as_text) +
                           notesAbout(adjusted, as_text);
  if (to_stream) return {data, said};
  requireOtherFile(options.output_path, options.base_path);
  writeFileAtomically(options.output_path, data);
  return {said, ""};
}

}  // namespace norv::tools
