#pragma once

/// Names of levels, and the text form of which levels are enabled.

#include <array>
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

/// Room for the name of any level.
using LogLevelNameBuffer = std::array<char, 16>;

/// "FATAL", "ERROR", "WARNING", "INFO", "DEBUG", or "LEVEL" and the number. The text lies in
/// `buffer` or is constant; nothing is allocated.
std::string_view logLevelName(int level, LogLevelNameBuffer* buffer);

}  // namespace norv::internal
