#pragma once

/// Which levels are enabled on which channel, and the text form of that in NORV_LOG.

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace norv::internal {

/// Levels read from a text.
struct LogLevelSpec {
  std::optional<int> every_channel;
  std::vector<std::pair<std::string, int>> channels;
};

/// Reads "info" or "camera_parameters=debug,check=fatal"; nullopt when any item is malformed. Names
/// are case-sensitive; where something is set twice, the last one wins.
std::optional<LogLevelSpec> parseLogLevelSpec(std::string_view text);

/// "FATAL", "ERROR", "WARNING", "INFO", "DEBUG", or "LEVEL" and the number.
std::string logLevelName(int level);

}  // namespace norv::internal
