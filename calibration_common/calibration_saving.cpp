#include "calibration_common/calibration_saving.h"

#include <climits>
#include <cstddef>
#include <utility>

#include "calibration_common/base_calibration_data.h"
#include "calibration_common/camera_parameters.h"
#include "support/atomic_file.h"
#include "support/message_printing.h"

namespace norv::calibration {
namespace {

using google::protobuf::Message;
using Problem = std::optional<SaveProblem>;

/// What Protocol Buffers reads.
constexpr std::size_t kMaxBytes = INT_MAX;

SaveProblem losesFields(std::vector<std::string> fields) {
  std::string sentence = "text cannot hold " + fields.front();
  if (fields.size() > 1) sentence += " and " + std::to_string(fields.size() - 1) + " more";
  return {std::move(sentence), std::move(fields)};
}

Problem printInto(const Message& message, std::string* bytes) {
  std::vector<std::string> lost = listTextLosses(message);
  if (!lost.empty()) return losesFields(std::move(lost));
  *bytes = printText(message);
  return std::nullopt;
}

Problem save(const Message& message, const std::string& path, CalibrationFormat format) {
  const SaveProblem too_large = {"too large for the format", {}};
  if (message.ByteSizeLong() > kMaxBytes) return too_large;
  std::string bytes;
  if (format == CalibrationFormat::kText) {
    if (Problem problem = printInto(message, &bytes)) return problem;
  } else {
    bytes = message.SerializeAsString();
  }
  if (bytes.size() > kMaxBytes) return too_large;
  if (auto reason = writeFileAtomically(path, bytes)) return SaveProblem{*std::move(reason), {}};
  return std::nullopt;
}

}  // namespace

Problem saveToFile(const RobotCalibration& robot, const std::string& path,
                   CalibrationFormat format) {
  return save(robot, path, format);
}

Problem saveToFile(const PTZCameraParameters& ptz, const std::string& path,
                   CalibrationFormat format) {
  return save(ptz, path, format);
}

Problem saveToFile(const BaseCalibrationProto& base, const std::string& path,
                   CalibrationFormat format) {
  return save(base, path, format);
}

Problem CameraParametersSet::saveToFile(const std::string& path, CalibrationFormat format) const {
  return save(*robotcal_, path, format);
}

Problem BaseCalibrationData::saveToFile(const std::string& path, CalibrationFormat format) const {
  return save(*cal_, path, format);
}

}  // namespace norv::calibration
