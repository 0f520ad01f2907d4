#pragma once

/// Options about other programs' calibrations.

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

#include "interop/peer_format.h"
#include "tools/input/pose_numbers.h"

namespace norv::tools {

/// Adds the option --format, which sets `*format`, to a verb.
CLI::Option* addFormatOption(CLI::App* verb, std::optional<interop::PeerFormat>* format,
                             const std::string& description);

/// Adds an option of that name whose value is where pixels are counted from.
CLI::Option* addOriginOption(CLI::App* verb, const std::string& name,
                             std::optional<calibration::PixelOrigin>* origin,
                             const std::string& description);

/// Adds the option --max-error, which sets `*max_error`, to a verb.
CLI::Option* addMaxErrorOption(CLI::App* verb, double* max_error, const std::string& what);

/// Adds an option of that name whose value is a pose.
CLI::Option* addPoseOption(CLI::App* verb, const std::string& name,
                           std::optional<PoseNumbers>* pose, const std::string& description);

}  // namespace norv::tools
