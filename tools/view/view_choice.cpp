#include "tools/view/view_choice.h"

#include <fmt/format.h>

#include "calibration_common/camera_parameters.h"
#include "calibration_common/ptz_camera_model.h"
#include "support/printable_text.h"
#include "tools/input/camera_choice.h"
#include "tools/input/camera_loading.h"
#include "tools/input/ptz_loading.h"
#include "tools/input/zoom_position.h"
#include "tools/tool_error.h"

namespace norv::tools {
namespace {

using calibration::CameraParameters;
using calibration::CameraView;
using calibration::PTZCameraModelConfiguration;
using calibration::PTZCameraParameters;
using calibration::RobotCalibration;

/// Index of the entry that is asked for: of those of one name the last, as in loading.
int findEntry(const CalibrationInput& input, const RobotCalibration& robot,
              const std::optional<std::string>& name) {
  const int count = robot.camera_calibration_size();
  if (count == 0) throw ToolError(input.name + ": holds no camera");
  if (!name) {
    if (count == 1) return 0;
    throw ToolError(fmt::format("{}: there are several cameras: choose one by --camera ({})",
                                input.name, listCameras(robot)));
  }
  for (int i = count - 1; i >= 0; --i) {
    if (robot.camera_calibration(i).name() == *name) return i;
  }
  refuseCamera(input, robot, *name);
}

/// "640x480, 1280x960".
std::string listSizes(const CameraParameters& camera) {
  std::string sizes;
  for (const auto& entry : camera.getIntrinsicsTable()) {
    sizes += fmt::format("{}{}x{}", sizes.empty() ? "" : ", ", entry.width, entry.height);
  }
  return sizes;
}

CameraView viewAt(const CalibrationInput& input, const CameraParameters& camera,
                  const std::optional<ImageSize>& size) {
  const auto& table = camera.getIntrinsicsTable();
  const std::string& name = camera.getCalibration().name();
  if (!size && table.size() > 1) {
    throw ToolError(fmt::format("{}: {} delivers several sizes: choose one by --size ({})",
                                input.name, name, listSizes(camera)));
  }
  const ImageSize wanted = size.value_or(ImageSize{table.at(0).width, table.at(0).height});
  if (const auto view = camera.view(wanted.width, wanted.height)) return *view;
  if (wanted.width <= 0 || wanted.height <= 0) {
    throw ToolError(fmt::format("{}: the pictures of {} have no pixels: they are {}", input.name,
                                name, listSizes(camera)));
  }
  throw ToolError(fmt::format(
      "{}: {} does not deliver {}x{}, only {}; for a picture that was made from one of these, give "
      "that one's --size, and --resized {}x{}",
      input.name, name, wanted.width, wanted.height, listSizes(camera), wanted.width,
      wanted.height));
}

NamedView chooseCamera(const CalibrationInput& input, const RobotCalibration& robot,
                       const ViewVerbOptions& options) {
  if (options.at) throw ToolError(input.name + ": --at is for pan-tilt-zoom cameras");
  const int index = findEntry(input, robot, options.camera);
  const auto camera = loadCamera(input, index, robot.camera_calibration(index));
  return {input.name,
          camera->getCalibration().name(),
          std::nullopt,
          viewAt(input, *camera, options.size),
          {}};
}

NamedView choosePosition(const CalibrationInput& input, const PTZCameraParameters& params,
                         const ViewVerbOptions& options) {
  if (options.camera || options.size) {
    throw ToolError(input.name + ": --camera and --size are for calibrations of fixed cameras");
  }
  if (!options.at) {
    throw ToolError(input.name + ": a pan-tilt-zoom camera needs --at, where its motors are");
  }
  const auto& [pan, tilt, zoom] = *options.at;
  const PTZCameraModelConfiguration camera(loadPtz(input, params), pan, tilt, zoom);
  if (!hasLens(camera)) throw ToolError(input.name + ": " + explainMissingLens(camera));
  const std::optional<CameraView> view = camera.view();
  if (!view) {
    throw ToolError(fmt::format("{}: the pictures have no pixels: they are {}x{}", input.name,
                                params.intrinsics().image_width(),
                                params.intrinsics().image_height()));
  }
  NamedView named{input.name, std::nullopt, options.at, *view, {}};
  if (const auto note = explainExtrapolation(camera)) named.notes.push_back(*note);
  return named;
}

NamedView chooseOfKind(CalibrationInput input, const ViewVerbOptions& options) {
  const ParsedCalibration parsed = parseCalibration(&input, options.kind);
  switch (parsed.kind) {
    case CalibrationKind::kRobot:
      return chooseCamera(input, dynamic_cast<RobotCalibration&>(*parsed.message), options);
    case CalibrationKind::kPtz:
      return choosePosition(input, dynamic_cast<PTZCameraParameters&>(*parsed.message), options);
    case CalibrationKind::kBase:
      break;
  }
  throw ToolError(input.name + ": holds the calibration of a mobile base, which has no pictures");
}

}  // namespace

NamedView chooseView(const ViewVerbOptions& options) {
  NamedView named = chooseOfKind(readInput(options.path.value_or("default")), options);
  if (!options.resized) return named;
  const CameraView delivered = named.view;
  named.view = delivered.resized(options.resized->width, options.resized->height).value();
  return named;
}

}  // namespace norv::tools
