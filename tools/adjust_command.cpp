#include "tools/adjust_command.h"

#include <fmt/format.h>
#include <google/protobuf/text_format.h>

#include "calibration_common/base_calibration_data.h"
#include "calibration_common/camera_parameters.h"
#include "tools/atomic_file.h"
#include "tools/calibration_input.h"
#include "tools/camera_loading.h"

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
  google::protobuf::TextFormat::PrintToString(known, &text);
  return text;
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
  RobotCalibration robot;
  const bool was_text = parseInput(&input, &robot) == InputFormat::kText;
  for (int i = 0; i < robot.camera_calibration_size(); ++i) {
    loadCamera(input, i, robot.camera_calibration(i));
  }
  CalibrationInput base_input = readInput(options.base_path);
  BaseCalibrationProto base_message;
  parseInput(&base_input, &base_message);
  const auto base = loadBase(base_input, base_message);

  CameraParametersSet set;
  set.loadFromProto(robot);
  set.adjustUsingBaseCalibration(*base);
  const bool as_text = options.text || (was_text && !options.binary);
  const RobotCalibration& adjusted = set.getRobotCalibration();
  writeFileAtomically(options.output_path,
                      as_text ? printText(adjusted) : adjusted.SerializeAsString());
  return fmt::format("{}: {} camera{} moved by the global transform of {}, written in {} format\n",
                     options.output_path, adjusted.camera_calibration_size(),
                     adjusted.camera_calibration_size() == 1 ? "" : "s", options.base_path,
                     as_text ? "text" : "binary");
}

}  // namespace norv::tools
