#include "support/log/level_names.h"

#include <charconv>

#include "support/log_level.h"

namespace norv::internal {
namespace {

struct NamedLevel {
  std::string_view name;   ///< in texts that set levels
  std::string_view label;  ///< in statements; empty for what is no level
  int level;
};

constexpr std::array<NamedLevel, 6> kNamedLevels = {{
    {"off", "", 0},
    {"fatal", "FATAL", kLogFatal},
    {"error", "ERROR", kLogError},
    {"warning", "WARNING", kLogWarning},
    {"info", "INFO", kLogInfo},
    {"debug", "DEBUG", kLogDebug},
}};

constexpr std::string_view kUnnamed = "LEVEL";

std::optional<int> parseLevelName(std::string_view name) {
  for (const NamedLevel& known : kNamedLevels) {
    if (known.name == name) return known.level;
  }
  return std::nullopt;
}

/// One "level" or "channel=level".
bool parseItem(std::string_view item, LogLevelSpec* spec) {
  const std::size_t equals = item.find('=');
  const bool names_channel = equals != std::string_view::npos;
  const std::optional<int> level = parseLevelName(names_channel ? item.substr(equals + 1) : item);
  if (!level || equals == 0) return false;
  if (names_channel) {
    spec->channels.emplace_back(item.substr(0, equals), *level);
  } else {
    spec->every_channel = level;
  }
  return true;
}

}  // namespace

std::optional<LogLevelSpec> parseLogLevelSpec(std::string_view text) {
  LogLevelSpec spec;
  for (;;) {
    const std::size_t comma = text.find(',');
    if (!parseItem(text.substr(0, comma), &spec)) return std::nullopt;
    if (comma == std::string_view::npos) return spec;
    text.remove_prefix(comma + 1);
  }
}

std::string_view logLevelName(int level, LogLevelNameBuffer* buffer) {
  for (const NamedLevel& known : kNamedLevels) {
    if (known.level == level && !known.label.empty()) return known.label;
  }
  char* const number = buffer->data() + kUnnamed.copy(buffer->data(), kUnnamed.size());
  const char* const end = std::to_chars(number, buffer->data() + buffer->size(), level).ptr;
  return {buffer->data(), static_cast<std::size_t>(end - buffer->data())};
}

}  // namespace norv::internal
