#pragma once

/// Reports of loads. `M` is one of the three kinds of calibration: `RobotCalibration`,
/// `PTZCameraParameters`, `BaseCalibrationProto`. Thread-safe; log nothing.

#include <optional>
#include <string>

#include "calibration_common/load_report.h"
#include "calibration_common/loading/calibration_reading.h"
#include "proto/norv_robot_calibration.pb.h"

namespace norv::internal {

/// What was read, and from what.
template <class M>
struct ReadCalibration {
  const std::string& data;
  CalibrationReading reading;
  const M& message;  ///< what was read from the data
};

/// Why a calibration does not load: because it does not parse, or by `findLoadProblem`; none if it
/// loads. Fits head cameras again.
template <class M>
std::optional<calibration::PlacedFinding> findProblem(const ReadCalibration<M>& read);

/// A report with the format, the problem if the load failed, and all findings.
template <class M>
calibration::LoadReport reportOn(const ReadCalibration<M>& read,
                                 const std::optional<calibration::PlacedFinding>& problem);

/// Of data that cannot be read.
calibration::LoadReport reportUnreadable(const std::string& reason);

/// The names of the cameras, each once, up to the entry `end`.
std::vector<std::string> listNames(const calibration::RobotCalibration& robot, int end);

/// The entry that keeps a calibration from loading; the number of entries where none does.
int findWrongEntry(const calibration::RobotCalibration& robot);

}  // namespace norv::internal
