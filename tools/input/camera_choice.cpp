#include "tools/input/camera_choice.h"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

#include "support/printable_text.h"
#include "tools/tool_error.h"
#include "tools/usage/nearest_word.h"

namespace norv::tools {

using calibration::CameraCalibration;
using calibration::RobotCalibration;

namespace {

/// The camera that was probably meant: one whose name goes on where `name` ends, or is like it.
std::string suggestName(const RobotCalibration& robot, const std::string& name) {
  std::vector<std::string> names;
  for (const CameraCalibration& camera : robot.camera_calibration()) {
    if (camera.name().rfind(name, 0) == 0) return "; did you mean " + camera.name() + "?";
    names.push_back(camera.name());
  }
  const std::string nearest = nearestWord(name, names);
  return nearest.empty() ? "" : "; did you mean " + nearest + "?";
}

}  // namespace

std::string listCameras(const RobotCalibration& robot) {
  constexpr int kMaxNames = 20;
  std::string known;
  for (int i = 0; i < std::min(robot.camera_calibration_size(), kMaxNames); ++i) {
    known += (i == 0 ? "" : ", ") + toPrintable(robot.camera_calibration(i).name());
  }
  const int further = robot.camera_calibration_size() - kMaxNames;
  if (further > 0) known += fmt::format(" and {} more", further);
  return known.empty() ? "none" : known;
}

void refuseCamera(const CalibrationInput& input, const RobotCalibration& robot,
                  const std::string& name) {
  throw ToolError(fmt::format("{}: no camera \"{}\" (there are: {}){}", input.name, name,
                              listCameras(robot), suggestName(robot, name)));
}

}  // namespace norv::tools
