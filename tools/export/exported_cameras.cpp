#include "tools/export/exported_cameras.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>

#include "support/printable_text.h"
#include "tools/input/calibration_kind.h"
#include "tools/input/camera_choice.h"
#include "tools/input/camera_loading.h"
#include "tools/output/number_text.h"
#include "tools/tool_error.h"

namespace norv::tools {
namespace {

using calibration::CameraModel;
using calibration::CameraParameters;
using calibration::RobotCalibration;
using interop::WrittenCamera;

/// The entries of the wanted cameras, in the order in which they are wanted; all where none is.
std::vector<int> chooseEntries(const CalibrationInput& input, const RobotCalibration& robot,
                               const std::vector<std::string>& names) {
  std::vector<int> entries;
  for (int i = 0; names.empty() && i < robot.camera_calibration_size(); ++i) entries.push_back(i);
  for (const std::string& name : names) {
    const auto& cameras = robot.camera_calibration();
    const auto found = std::find_if(cameras.begin(), cameras.end(),
                                    [&](const auto& camera) { return camera.name() == name; });
    if (found == cameras.end()) refuseCamera(input, robot, name);
    entries.push_back(static_cast<int>(found - cameras.begin()));
  }
  return entries;
}

void requireDifferentNames(const CalibrationInput& input, const RobotCalibration& robot,
                           const std::vector<int>& entries) {
  std::set<std::string> names;
  for (const int entry : entries) {
    const std::string& name = robot.camera_calibration(entry).name();
    if (names.insert(name).second) continue;
    throw ToolError(
        fmt::format("{}: the camera \"{}\" is to be written more than once", input.name, name));
  }
}

std::string listSizes(const CameraParameters& camera) {
  std::string sizes;
  for (const CameraParameters::Intrinsics& entry : camera.getIntrinsicsTable()) {
    sizes += fmt::format("{}{}x{}", sizes.empty() ? "" : ", ", entry.width, entry.height);
  }
  return sizes;
}

/// Floats as the doubles that print with as few digits.
CameraModel modelOf(const CameraParameters::Intrinsics& entry) {
  const auto k = [&](std::size_t i) { return shortestDouble(entry.distortion.at(i)); };
  return {entry.width,
          entry.height,
          shortestDouble(entry.fx),
          shortestDouble(entry.fy),
          shortestDouble(entry.skew),
          shortestDouble(entry.cx),
          shortestDouble(entry.cy),
          {k(0), k(1), k(2), k(3), k(4), k(5), k(6), k(7)}};
}

CameraModel modelAtSize(const CalibrationInput& input, const RobotCalibration& robot, int entry,
                        const ImageSize& size) {
  const auto camera = loadCamera(input, entry, robot.camera_calibration(entry));
  for (const CameraParameters::Intrinsics& in : camera->getIntrinsicsTable()) {
    if (in.width == size.width && in.height == size.height) return modelOf(in);
  }
  throw ToolError(fmt::format("{}: the camera \"{}\" does not deliver {}x{} (but {})", input.name,
                              robot.camera_calibration(entry).name(), size.width, size.height,
                              listSizes(*camera)));
}

}  // namespace

ExportedCalibration readExported(const ExportVerbOptions& options) {
  CalibrationInput input = readInput(options.path);
  RobotCalibration robot;
  parseExpected(&input, CalibrationKind::kRobot, &robot);
  const std::vector<int> entries = chooseEntries(input, robot, options.cameras);
  if (entries.empty()) throw ToolError(input.name + ": holds no camera");
  requireDifferentNames(input, robot, entries);
  ExportedCalibration exported;
  exported.source = input.name;
  for (const int entry : entries) {
    auto camera = interop::fullFrameCamera(robot.camera_calibration(entry));
    if (const auto* reason = std::get_if<std::string>(&camera)) {
      throw ToolError(input.name + ": " + *reason);
    }
    exported.cameras.push_back(std::get<WrittenCamera>(std::move(camera)));
    if (options.size) {
      exported.cameras.back().model = modelAtSize(input, robot, entry, *options.size);
    }
  }
  return exported;
}

}  // namespace norv::tools
