// Loads of a base calibration that report, and those that never fall back to the default.

#include <utility>

#include "calibration_common/base_calibration_data.h"
#include "calibration_common/load_report.h"
#include "calibration_common/loading/load_reporting.h"
#include "support/file.h"
#include "support/logging.h"

namespace norv::calibration {
namespace {

constexpr const char* kChannel = "base_calibration_data";

using ReadBase = internal::ReadCalibration<BaseCalibrationProto>;

}  // namespace

bool BaseCalibrationData::loadFromString(const std::string& data, LoadReport* report) {
  if (report == nullptr) return loadFromString(data);
  // The load comes last: it changes nothing where it runs out of memory.
  BaseCalibrationProto message;
  const ReadBase read = {data, internal::readCalibration(data, &message), message};
  LoadReport made = internal::reportOn(read, internal::findProblem(read));
  const bool loaded = loadFromString(data);
  made.default_in_force = !loaded;
  *report = std::move(made);
  return loaded;
}

bool BaseCalibrationData::loadFromFile(const std::string& path, LoadReport* report) {
  std::string data;
  std::string reason;
  if (!File::readFileToString(path, &data, &reason)) {
    LoadReport made = internal::reportUnreadable(reason);
    made.default_in_force = true;
    NORV_LOG(kLogError, kChannel) << "Can't open " << path;
    setDefault();
    if (report != nullptr) *report = std::move(made);
    return false;
  }
  if (loadFromString(data, report)) return true;
  NORV_LOG(kLogError, kChannel) << "Error parsing base calibration from " << path;
  return false;
}

BaseCalibrationData::BaseCalibrationData(WithoutDefault /*tag*/)
    : cal_(std::make_unique<BaseCalibrationProto>()),
      world_rotation_(Matrix3x3_f::Zero()),
      world_translation_(Vector3_f::Zero()) {}

std::unique_ptr<BaseCalibrationData> BaseCalibrationData::take(const std::string& data,
                                                               const std::string& source,
                                                               LoadReport* report) {
  std::unique_ptr<BaseCalibrationData> base(new BaseCalibrationData(WithoutDefault()));
  const ReadBase read = {data, internal::readCalibration(data, base->cal_.get()), *base->cal_};
  std::optional<PlacedFinding> problem = read.reading.problem;
  if (!problem) problem = internal::findProblem(read);
  if (report != nullptr) *report = internal::reportOn(read, problem);
  if (!problem) {
    base->readProto();
    return base;
  }
  NORV_LOG(kLogError, kChannel) << "No base calibration taken from " << source << ": "
                                << describeFinding(*problem);
  return nullptr;
}

std::unique_ptr<BaseCalibrationData> BaseCalibrationData::fromString(const std::string& data,
                                                                     LoadReport* report) {
  return take(data, "a string", report);
}

std::unique_ptr<BaseCalibrationData> BaseCalibrationData::fromFile(const std::string& path,
                                                                   LoadReport* report) {
  std::string data;
  std::string reason;
  if (File::readFileToString(path, &data, &reason)) return take(data, path, report);
  NORV_LOG(kLogError, kChannel) << "No base calibration taken from " << path << ": " << reason;
  if (report != nullptr) *report = internal::reportUnreadable(reason);
  return nullptr;
}

}  // namespace norv::calibration
