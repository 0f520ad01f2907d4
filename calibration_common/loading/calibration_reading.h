#pragma once

/// Reading of a calibration, with reasons.

#include <google/protobuf/message.h>

#include <optional>
#include <string>

#include "calibration_common/calibration_format.h"
#include "calibration_common/load_report.h"

namespace norv::internal {

/// What reading says about data.
struct CalibrationReading {
  /// What it was read as; none where it is neither.
  std::optional<calibration::CalibrationFormat> format;
  /// An error of the check "parse": what keeps the data from being read, or that it is empty or of
  /// another kind, which can be read as any.
  std::optional<calibration::PlacedFinding> problem;
};

/// An error of the check "parse".
calibration::PlacedFinding parseProblem(const std::string& field, const std::string& text,
                                        TextPlace place = {});

/// Reads data into one of the three kinds of calibration, which nobody else has yet: the binary
/// format is tried first, then the text format. What the message holds where there is no format,
/// and where std::bad_alloc is thrown, is as `readBinary` has it. Logs nothing. Thread-safe.
CalibrationReading readCalibration(const std::string& data, google::protobuf::Message* message);

}  // namespace norv::internal
