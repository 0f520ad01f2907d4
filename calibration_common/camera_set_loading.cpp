// Loads of a set of cameras that report, and those that never fall back to the default.

#include <algorithm>
#include <utility>

#include "calibration_common/camera_parameters.h"
#include "calibration_common/load_report.h"
#include "calibration_common/load_rollback.h"
#include "calibration_common/loading/load_reporting.h"
#include "calibration_common/message_copy.h"
#include "support/file.h"
#include "support/logging.h"

namespace norv::calibration {
namespace {

constexpr const char* kChannel = "camera_parameters";

using ReadRobot = internal::ReadCalibration<RobotCalibration>;

/// The names of the cameras that a failed load leaves in a set whose default is in force.
std::vector<std::string> listLeftCameras(const RobotCalibration& robot,
                                         const RobotCalibration& default_calibration) {
  std::vector<std::string> left = internal::listNames(robot, internal::findWrongEntry(robot));
  for (const CameraCalibration& camera : default_calibration.camera_calibration()) {
    left.erase(std::remove(left.begin(), left.end(), camera.name()), left.end());
  }
  return left;
}

}  // namespace

bool CameraParametersSet::loadFromString(const std::string& data, LoadReport* report) {
  if (report == nullptr) return loadFromString(data);
  const internal::LoadRollback rollback(&cameras_, &robotcal_);
  const bool loaded = loadFromString(data);
  const auto message = internal::newMessage<RobotCalibration>();
  const ReadRobot read = {data, internal::readCalibration(data, message.get()), *message};
  LoadReport made = internal::reportOn(read, loaded ? std::nullopt : internal::findProblem(read));
  made.default_in_force = !loaded;
  if (loaded) {
    made.cameras = internal::listNames(*message, message->camera_calibration_size());
  } else if (made.format) {
    made.cameras = listLeftCameras(*message, *robotcal_);
  }
  *report = std::move(made);
  return loaded;
}

bool CameraParametersSet::loadFromFile(const std::string& path, LoadReport* report) {
  if (report == nullptr) return loadFromFile(path);
  const internal::LoadRollback rollback(&cameras_, &robotcal_);
  std::string data;
  std::string reason;
  LoadReport made;
  if (!File::readFileToString(path, &data, &reason)) {
    NORV_LOG(kLogError, kChannel) << "Can't open " << path;
    setDefault();
    made = internal::reportUnreadable(reason);
    made.default_in_force = true;
  } else if (!loadFromString(data, &made)) {
    NORV_LOG(kLogError, kChannel) << "Error parsing robot calibration from " << path;
    setDefault();  // once more, as without a report
  }
  *report = std::move(made);
  return !report->default_in_force;
}

CameraParametersSet::CameraParametersSet(WithoutDefault /*tag*/)
    : robotcal_(internal::newMessage<RobotCalibration>()) {}

std::unique_ptr<CameraParametersSet> CameraParametersSet::take(const std::string& data,
                                                               const std::string& source,
                                                               LoadReport* report) {
  std::unique_ptr<CameraParametersSet> set(new CameraParametersSet(WithoutDefault()));
  const RobotCalibration& robot = *set->robotcal_;
  ReadRobot read = {data, internal::readCalibration(data, set->robotcal_.get()), robot};
  if (!read.reading.problem && robot.camera_calibration().empty()) {
    read.reading.problem = internal::parseProblem("", "holds no camera");
  }
  std::optional<PlacedFinding> problem = read.reading.problem;
  if (!problem && !set->buildCameras(data.size())) problem = internal::findProblem(read);
  if (problem) {
    NORV_LOG(kLogError, kChannel) << "No cameras taken from " << source << ": "
                                  << describeFinding(*problem);
  }
  if (report != nullptr) {
    *report = internal::reportOn(read, problem);
    if (!problem) report->cameras = internal::listNames(robot, robot.camera_calibration_size());
  }
  return problem ? nullptr : std::move(set);
}

std::unique_ptr<CameraParametersSet> CameraParametersSet::fromString(const std::string& data,
                                                                     LoadReport* report) {
  return take(data, "a string", report);
}

std::unique_ptr<CameraParametersSet> CameraParametersSet::fromFile(const std::string& path,
                                                                   LoadReport* report) {
  std::string data;
  std::string reason;
  if (File::readFileToString(path, &data, &reason)) return take(data, path, report);
  NORV_LOG(kLogError, kChannel) << "No cameras taken from " << path << ": " << reason;
  if (report != nullptr) *report = internal::reportUnreadable(reason);
  return nullptr;
}

}  // namespace norv::calibration
