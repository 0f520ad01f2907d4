#include "tools/input/camera_loading.h"

#include <fmt/format.h>

#include <string>

#include "support/logging.h"
#include "tools/tool_error.h"

namespace norv::tools {
namespace {

using calibration::BaseCalibrationData;
using calibration::BaseCalibrationProto;
using calibration::CameraCalibration;
using calibration::CameraParameters;

/// Keeps the library's error lines from the user, who gets one of ours with the place.
class ScopedErrors {
 public:
  ScopedErrors() {
    setLogSink([this](const LogRecord& record) {
      if (record.level <= kLogError) last_ = record.text;
    });
  }
  ScopedErrors(const ScopedErrors&) = delete;
  ScopedErrors& operator=(const ScopedErrors&) = delete;
  ~ScopedErrors() { setLogSink({}); }

  const std::string& last() const { return last_; }

 private:
  std::string last_;
};

std::string tooShort(const CalibrationInput& input, const std::string& path, int size, int needed) {
  return describeProblem(input, path,
                         fmt::format("holds {} values, at least {} are needed", size, needed));
}

/// Why the library would not load a camera: the first field that it misses, or else what it said
/// itself.
std::string explainRejection(const CalibrationInput& input, const std::string& path,
                             const CameraCalibration& camera, const std::string& logged) {
  const auto& intrinsics = camera.intrinsics();
  if (intrinsics.radial_size() < 6) {
    return tooShort(input, path + ".intrinsics.radial", intrinsics.radial_size(), 6);
  }
  if (intrinsics.tangential_size() < 2) {
    return tooShort(input, path + ".intrinsics.tangential", intrinsics.tangential_size(), 2);
  }
  if (camera.extrinsics().a_size() < 12) {
    return tooShort(input, path + ".extrinsics.a", camera.extrinsics().a_size(), 12);
  }
  if (logged.empty()) {
    return describeProblem(
        input, path + ".intrinsics",
        fmt::format("needs width and height, since model \"{}\" is not known", camera.model()));
  }
  return describeProblem(input, path + ".intrinsics.samples", logged);
}

}  // namespace

std::unique_ptr<CameraParameters> loadCamera(const CalibrationInput& input, int index,
                                             const CameraCalibration& calibration) {
  const ScopedErrors errors;
  auto camera = std::make_unique<CameraParameters>();
  if (!camera->readProto(calibration)) {
    const std::string path = fmt::format("camera_calibration[{}]", index);
    throw ToolError(explainRejection(input, path, calibration, errors.last()));
  }
  return camera;
}

std::unique_ptr<BaseCalibrationData> loadBase(const CalibrationInput& input,
                                              const BaseCalibrationProto& base) {
  const ScopedErrors errors;
  auto data = std::make_unique<BaseCalibrationData>();
  if (!data->loadFromString(base.SerializeAsString())) {
    throw ToolError(tooShort(input, "global_transform_adjustment.global_transform.a",
                             base.global_transform_adjustment().global_transform().a_size(), 12));
  }
  return data;
}

}  // namespace norv::tools
