// reviewCalibration: whatever the message, each finding is of a described check, and what does not
// load has an error.

#include <algorithm>

#include "calibration_common/base_calibration_data.h"
#include "calibration_common/calibration_review.h"
#include "calibration_common/camera_parameters.h"
#include "calibration_common/ptz_camera_model.h"
#include "fuzz/fuzz_support.h"
#include "support/message_parsing.h"

namespace {

using norv::calibration::BaseCalibrationProto;
using norv::calibration::CheckDescription;
using norv::calibration::Finding;
using norv::calibration::PTZCameraParameters;
using norv::calibration::RobotCalibration;
using norv::calibration::Severity;
using norv::fuzz::require;

bool loads(const RobotCalibration& robot) {
  return norv::calibration::CameraParametersSet().loadFromProto(robot);
}

bool loads(const PTZCameraParameters& ptz) {
  return norv::calibration::PTZCameraModel(ptz).isValid();
}

bool loads(const BaseCalibrationProto& base) {
  return norv::calibration::BaseCalibrationData().loadFromString(base.SerializeAsString());
}

bool isDescribed(const Finding& finding) {
  const auto& checks = norv::calibration::calibrationChecks();
  return std::any_of(checks.begin(), checks.end(),
                     [&](const CheckDescription& check) { return check.id == finding.check; });
}

template <class Message>
void reviewAs(const std::string& input) {
  Message message;
  if (!norv::parseBinaryOrText(input, &message)) return;
  bool has_error = false;
  for (const Finding& finding : reviewCalibration(message)) {
    require(isDescribed(finding), "a finding is of a described check");
    require(!finding.text.empty(), "a finding has a sentence");
    has_error = has_error || finding.severity == Severity::kError;
  }
  require(has_error || loads(message), "what does not load has an error");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  norv::fuzz::silenceLogs();
  const std::string input = norv::fuzz::asString(data, size);
  reviewAs<RobotCalibration>(input);
  reviewAs<PTZCameraParameters>(input);
  reviewAs<BaseCalibrationProto>(input);
  return 0;
}
