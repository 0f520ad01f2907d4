#include "python/bindings/exported_cameras.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <set>

#include "calibration_common/camera_parameters.h"
#include "interop/calibration_export.h"

namespace norv::python {
namespace {

using calibration::CameraCalibration;
using calibration::CameraModel;
using calibration::CameraParameters;
using calibration::RobotCalibration;
using interop::WrittenCamera;

/// The double that prints with as few digits as the float.
double shortestDouble(float value) {
  if (!std::isfinite(value)) return static_cast<double>(value);
  std::array<char, 32> text;
  const auto written = std::to_chars(text.data(), text.data() + text.size(), value);
  double result = 0;
  std::from_chars(text.data(), written.ptr, result);
  return result;
}

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

/// The camera at a size of its table.
std::variant<CameraModel, std::string> modelAtSize(const CameraCalibration& calibration,
                                                   const std::pair<int, int>& size) {
  CameraParameters camera;
  if (!camera.readProto(calibration)) {
    const auto problem = findLoadProblem(calibration).value_or(LoadProblem{});
    return fmt::format("camera {} does not load: {}: {}", calibration.name(), problem.field,
                       problem.sentence);
  }
  std::string sizes;
  for (const CameraParameters::Intrinsics& entry : camera.getIntrinsicsTable()) {
    if (std::pair(entry.width, entry.height) == size) return modelOf(entry);
    sizes += fmt::format("{}{}x{}", sizes.empty() ? "" : ", ", entry.width, entry.height);
  }
  return fmt::format("the camera \"{}\" does not deliver {}x{} (but {})", calibration.name(),
                     size.first, size.second, sizes);
}

/// The entries that are wanted, in the order in which they are; the first one of a name.
std::variant<std::vector<const CameraCalibration*>, CameraProblem> chooseEntries(
    const RobotCalibration& robot, const std::vector<std::string>& names) {
  std::vector<const CameraCalibration*> entries;
  const auto& cameras = robot.camera_calibration();
  for (const CameraCalibration& camera : cameras) {
    if (names.empty()) entries.push_back(&camera);
  }
  for (const std::string& name : names) {
    const auto found = std::find_if(cameras.begin(), cameras.end(),
                                    [&](const auto& camera) { return camera.name() == name; });
    if (found == cameras.end()) return CameraProblem{"", name};
    entries.push_back(&*found);
  }
  std::set<std::string> written;
  for (const CameraCalibration* entry : entries) {
    if (written.insert(entry->name()).second) continue;
    return CameraProblem{
        fmt::format("the camera \"{}\" is to be written more than once", entry->name()), ""};
  }
  if (entries.empty()) return CameraProblem{"holds no camera", ""};
  return entries;
}

}  // namespace

std::variant<std::vector<WrittenCamera>, CameraProblem> chooseCameras(const RobotCalibration& robot,
                                                                      const WantedCameras& wanted) {
  const auto chosen = chooseEntries(robot, wanted.names);
  if (const auto* problem = std::get_if<CameraProblem>(&chosen)) return *problem;
  std::vector<WrittenCamera> cameras;
  for (const CameraCalibration* entry : std::get<0>(chosen)) {
    auto camera = interop::fullFrameCamera(*entry);
    if (const auto* reason = std::get_if<std::string>(&camera)) return CameraProblem{*reason, ""};
    cameras.push_back(std::get<WrittenCamera>(std::move(camera)));
    if (!wanted.size) continue;
    const auto model = modelAtSize(*entry, *wanted.size);
    if (const auto* reason = std::get_if<std::string>(&model)) return CameraProblem{*reason, ""};
    cameras.back().model = std::get<CameraModel>(model);
  }
  return cameras;
}

}  // namespace norv::python
