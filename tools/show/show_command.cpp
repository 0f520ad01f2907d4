#include "tools/show/show_command.h"

#include "tools/show/show_base.h"
#include "tools/show/show_cameras.h"
#include "tools/show/show_ptz.h"
#include "tools/tool_error.h"
#include "tools/usage/file_name.h"
#include "tools/usage/image_options.h"
#include "tools/usage/kind_option.h"

namespace norv::tools {
namespace {

using calibration::BaseCalibrationProto;
using calibration::PTZCameraParameters;
using calibration::RobotCalibration;

/// Cameras and image sizes are of robot calibrations alone.
void requireOptionsFit(const CalibrationInput& input, const ShowOptions& options,
                       CalibrationKind kind) {
  if (kind == CalibrationKind::kRobot) return;
  if (!options.camera && !options.size) return;
  throw ToolError(input.name + ": --camera and --size are for calibrations of fixed cameras");
}

}  // namespace

CLI::App* addShowCommand(CLI::App* app, ShowOptions* options) {
  CLI::App* show = app->add_subcommand(
      "show",
      "Print what a calibration says: of fixed cameras the pose, and the camera matrix and "
      "distortion per image size; of a pan-tilt-zoom camera the lens and the head; of a base its "
      "transform");
  requireFileName(show->add_option(
      "FILE", options->path,
      "Calibration, binary, text or JSON; - is standard input; without it the compiled-in default "
      "of the fixed cameras"));
  addCameraOption(show, &options->camera, "Show this camera only");
  addSizeOption(show, &options->size, "Show");
  addKindOption(show, &options->kind, "What FILE holds");
  show->add_flag("--json", options->json, "Print JSON for programs");
  return show;
}

std::string runShowCommand(const ShowOptions& options) {
  CalibrationInput input = readInput(options.path.value_or("default"));
  const ParsedCalibration parsed = parseCalibration(&input, options.kind);
  requireOptionsFit(input, options, parsed.kind);
  switch (parsed.kind) {
    case CalibrationKind::kRobot:
      return showCameras(input, dynamic_cast<RobotCalibration&>(*parsed.message), options);
    case CalibrationKind::kPtz:
      return showPtz(input, dynamic_cast<PTZCameraParameters&>(*parsed.message), options);
    case CalibrationKind::kBase:
      break;
  }
  return showBase(input, dynamic_cast<BaseCalibrationProto&>(*parsed.message), options);
}

}  // namespace norv::tools
