#pragma once

/// What is known about how a base's calibrations were made.

#include <cstdint>
#include <string>

#include "proto/norv_base_calibration.pb.h"
#include "tools/output/json_output.h"

namespace norv::tools {

/// "2024-05-14 09:00:00 UTC" of nanoseconds since 1970.
std::string dateText(std::int64_t nanoseconds);

/// One line a value.
std::string metadataText(bool present, const calibration::CalibrationMetadataProto& metadata);

/// Null where it is not present.
json metadataJson(bool present, const calibration::CalibrationMetadataProto& metadata);

}  // namespace norv::tools
