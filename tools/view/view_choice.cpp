#include "tools/view/view_choice.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "calibration_common/camera_parameters.h"
#include "calibration_common/ptz_camera_model.h"
#include "support/printable_text.h"
#include "tools/input/camera_choice.h"
#include "tools/input/camera_loading.h"
#include "tools/input/motor_positions.h"
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
    throw UsageError(fmt::format("{}: there are several cameras: choose one by --camera ({})",
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
    throw UsageError(fmt::format("{}: {} delivers several sizes: choose one by --size ({})",
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
  if (options.at) throw UsageError(input.name + ": --at is for pan-tilt-zoom cameras");
  const int index = findEntry(input, robot, options.camera);
  const auto camera = loadCamera(input, index, robot.camera_calibration(index));
  const CameraView view = viewAt(input, *camera, options.size);
  Findings findings = reviewCalibration(robot);
  std::vector<std::string> notes =
      errorNotes(findings, fmt::format("camera_calibration[{}]", index));
  return {input.name,         camera->getCalibration().name(), std::nullopt, view, std::move(notes),
          std::move(findings)};
}

/// The motors' positions. Throws UsageError where the options are not those of a pan-tilt-zoom
/// camera with pictures of this size.
std::array<int, 3> requirePosition(const CalibrationInput& input, const ViewVerbOptions& options,
                                   const ImageSize& picture) {
  if (options.camera) {
    throw UsageError(input.name + ": --camera is for calibrations of fixed cameras");
  }
  if (!options.at) {
    throw UsageError(input.name + ": a pan-tilt-zoom camera needs --at, where its motors are");
  }
  const ImageSize asked = options.size.value_or(picture);
  if (asked.width != picture.width || asked.height != picture.height) {
    throw UsageError(fmt::format("{}: the pictures are {}x{}, not {}x{}", input.name, picture.width,
                                 picture.height, asked.width, asked.height));
  }
  return *options.at;
}

NamedView choosePosition(const CalibrationInput& input, const PTZCameraParameters& params,
                         const ViewVerbOptions& options) {
  const ImageSize picture = {params.intrinsics().image_width(), params.intrinsics().image_height()};
  const auto at = requirePosition(input, options, picture);
  const PTZCameraModelConfiguration camera(loadPtz(input, params), at[0], at[1], at[2]);
  if (!hasLens(camera)) throw ToolError(input.name + ": " + explainMissingLens(camera));
  const std::optional<CameraView> view = camera.view();
  if (!view) {
    throw ToolError(fmt::format("{}: the pictures have no pixels: they are {}x{}", input.name,
                                picture.width, picture.height));
  }
  Findings findings = reviewCalibration(params);
  std::vector<std::string> notes = explainPositions(camera);
  for (std::string& note : errorNotes(findings, "")) notes.push_back(std::move(note));
  return {input.name, std::nullopt, at, *view, std::move(notes), std::move(findings)};
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
  named.view = takeSteps(named.view, options.steps, named.source);
  if (std::max(named.view.width(), named.view.height()) > kMaxViewSide) {
    throw ToolError(fmt::format("{}: the picture is {}x{}; view takes sides of up to {} pixels",
                                named.source, named.view.width(), named.view.height(),
                                kMaxViewSide));
  }
  return named;
}

}  // namespace norv::tools
