// Two calibrations of a mobile base.

#include "calibration_common/base_calibration_data.h"
#include "calibration_common/calibration_diff.h"
#include "calibration_common/diff/pose.h"

namespace norv::calibration {
namespace {

std::optional<float> given(bool is_there, float value) {
  return is_there ? std::optional<float>(value) : std::nullopt;
}

internal::diff::Pose globalTransformOf(const BaseCalibrationProto& base) {
  return internal::diff::readPose(base.global_transform_adjustment().global_transform());
}

}  // namespace

std::optional<BaseDifference> diffCalibrations(const BaseCalibrationProto& a,
                                               const BaseCalibrationProto& b,
                                               DiffProblem* problem) {
  for (const bool is_b : {false, true}) {
    const std::optional<LoadProblem> found = findLoadProblem(is_b ? b : a);
    if (!found) continue;
    if (problem != nullptr) *problem = {is_b, *found};
    return std::nullopt;
  }
  BaseDifference difference;
  difference.global_transform =
      internal::diff::comparePoses(globalTransformOf(a), globalTransformOf(b));
  difference.gain = {given(a.gyroscope().has_gain(), a.gyroscope().gain()),
                     given(b.gyroscope().has_gain(), b.gyroscope().gain())};
  difference.wheel_base = {given(a.has_wheel_base(), a.wheel_base()),
                           given(b.has_wheel_base(), b.wheel_base())};
  difference.base_width = {given(a.has_base_width(), a.base_width()),
                           given(b.has_base_width(), b.base_width())};
  difference.base_length = {given(a.has_base_length(), a.base_length()),
                            given(b.has_base_length(), b.base_length())};
  return difference;
}

}  // namespace norv::calibration
