#include "tools/adjust/adjust_command.h"

#include <fmt/format.h>
#include <google/protobuf/text_format.h>

#include <filesystem>
#include <set>
#include <system_error>

#include "calibration_common/base_calibration_data.h"
#include "calibration_common/camera_parameters.h"
#include "tools/input/calibration_kind.h"
#include "tools/input/camera_loading.h"
#include "tools/output/atomic_file.h"
#include "tools/output/text_table.h"
#include "tools/tool_error.h"

namespace norv::tools {
namespace {

using calibration::BaseCalibrationData;
using calibration::BaseCalibrationProto;
using calibration::CameraParametersSet;
using calibration::RobotCalibration;

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

/// What the user may not expect of a calibration that was written.
std::string notesAbout(const RobotCalibration& robot, bool as_text) {
  std::string notes;
  std::set<std::string> names;
  std::set<std::string> repeated;
  for (const auto& camera : robot.camera_calibration()) {
    if (!names.insert(camera.name()).second) repeated.insert(camera.name());
  }
  for (const std::string& name : repeated) {
    notes += fmt::format(
        "note: \"{}\" is listed more than once; all entries are of the last one's camera, which "
        "was moved once for each\n",
        printable(name));
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
  std::error_code ignored;
  if (std::filesystem::equivalent(output, base, ignored)) {
    throw ToolError(output + ": is the base calibration, which is not to be written over");
  }
}

}  // namespace

CLI::App* addAdjustCommand(CLI::App* app, AdjustOptions* options) {
  CLI::App* adjust = app->add_subcommand(
      "adjust", "Move the camera poses of a calibration by a base's global transform");
  adjust->add_option("CALIBRATION", options->path, "Robot calibration, binary or text")->required();
  adjust->add_option("--base", options->base_path, "Base calibration, binary or text")
      ->type_name("BASE")
      ->required();
  adjust
      ->add_option("--output", options->output_path, "File to write; it may be CALIBRATION itself")
      ->type_name("FILE")
      ->required();
  CLI::Option* binary = adjust->add_flag("--binary", options->binary, "Write the binary format");
  adjust
      ->add_flag("--text", options->text,
                 "Write the text format, without comments (default: that of CALIBRATION)")
      ->excludes(binary);
  return adjust;
}

std::string runAdjustCommand(const AdjustOptions& options) {
  CalibrationInput input = readInput(options.path);
  InputFormat format = InputFormat::kBinary;
  const RobotCalibration robot = loadRobot(&input, &format);
  CalibrationInput base_input = readInput(options.base_path);
  BaseCalibrationProto base_message;
  parseExpected(&base_input, CalibrationKind::kBase, &base_message);
  const RobotCalibration adjusted = moveCameras(input, robot, *loadBase(base_input, base_message));

  requireOtherFile(options.output_path, options.base_path);
  const bool as_text = options.text || (format == InputFormat::kText && !options.binary);
  writeFileAtomically(options.output_path, as_text ? printText(adjusted) : printBinary(adjusted));
  const int count = adjusted.camera_calibration_size();
  return fmt::format("{}: {} camera{} moved by the global transform of {}, written in {} format\n",
                     options.output_path, count, count == 1 ? "" : "s", options.base_path,
                     as_text ? "text" : "binary") +
         notesAbout(adjusted, as_text);
}

}  // namespace norv::tools
