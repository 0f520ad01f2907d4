// Pan-tilt-zoom cameras from files.

#include "calibration_common/load_report.h"
#include "calibration_common/loading/load_reporting.h"
#include "calibration_common/message_copy.h"
#include "calibration_common/ptz_camera_model.h"
#include "support/file.h"
#include "support/logging.h"

namespace norv::calibration {
namespace {

constexpr const char* kChannel = "ptz_camera_model";

}  // namespace

PTZCameraModelPtr PTZCameraModel::take(const std::string& data, const std::string& source,
                                       LoadReport* report) {
  const auto message = internal::newMessage<PTZCameraParameters>();
  const internal::ReadCalibration<PTZCameraParameters> read = {
      data, internal::readCalibration(data, message.get()), *message};
  std::optional<PlacedFinding> problem = read.reading.problem;
  if (!problem) problem = internal::findProblem(read);
  if (report != nullptr) *report = internal::reportOn(read, problem);
  if (!problem) return std::make_shared<const PTZCameraModel>(*message);
  NORV_LOG(kLogError, kChannel) << "No pan-tilt-zoom camera taken from " << source << ": "
                                << describeFinding(*problem);
  return nullptr;
}

PTZCameraModelPtr PTZCameraModel::fromString(const std::string& data, LoadReport* report) {
  return take(data, "a string", report);
}

PTZCameraModelPtr PTZCameraModel::fromFile(const std::string& path, LoadReport* report) {
  std::string data;
  std::string reason;
  if (File::readFileToString(path, &data, &reason)) return take(data, path, report);
  NORV_LOG(kLogError, kChannel) << "No pan-tilt-zoom camera taken from " << path << ": " << reason;
  if (report != nullptr) *report = internal::reportUnreadable(reason);
  return nullptr;
}

}  // namespace norv::calibration
