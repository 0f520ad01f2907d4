#include "tools/input/camera_loading.h"

#include <fmt/format.h>

#include <optional>
#include <string>

#include "tools/tool_error.h"

namespace norv::tools {
namespace {

using calibration::BaseCalibrationData;
using calibration::BaseCalibrationProto;
using calibration::CameraCalibration;
using calibration::CameraParameters;

/// Throws ToolError with the problem of a calibration that did not load, the field at `path`.
[[noreturn]] void refuse(const CalibrationInput& input, const std::string& path,
                         const std::optional<LoadProblem>& problem) {
  const LoadProblem& known = problem.value();
  throw ToolError(describeProblem(input, path + known.field, known.sentence));
}

}  // namespace

std::unique_ptr<CameraParameters> loadCamera(const CalibrationInput& input, int index,
                                             const CameraCalibration& calibration) {
  auto camera = std::make_unique<CameraParameters>();
  if (!camera->readProto(calibration)) {
    refuse(input, fmt::format("camera_calibration[{}].", index), findLoadProblem(calibration));
  }
  return camera;
}

std::unique_ptr<BaseCalibrationData> loadBase(const CalibrationInput& input,
                                              const BaseCalibrationProto& base) {
  auto data = std::make_unique<BaseCalibrationData>();
  if (!data->loadFromString(base.SerializeAsString())) refuse(input, "", findLoadProblem(base));
  return data;
}

}  // namespace norv::tools
