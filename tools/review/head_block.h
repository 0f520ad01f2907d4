#pragma once

#include <string>

#include "proto/norv_pan_tilt_system.pb.h"

namespace norv::tools {

/// A head as the block `pan_tilt { ... }` of a calibration in text format, its poses row by row.
/// What it says reads back as the same message, fields that this program does not know left out.
std::string headBlock(const calibration::PanTiltSystemParameters& head);

}  // namespace norv::tools
