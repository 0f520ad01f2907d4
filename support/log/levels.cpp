#include "support/log/levels.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "support/logging.h"

namespace norv {
namespace internal {
namespace {

constexpr int kUnconfigured = INT_MAX;

struct NamedLevel {
  std::string_view name;
  int level;
};

constexpr std::array<NamedLevel, 6> kLevelNames = {{
    {"off", 0},
    {"fatal", kLogFatal},
    {"error", kLogError},
    {"warning", kLogWarning},
    {"info", kLogInfo},
    {"debug", kLogDebug},
}};

std::optional<int> parseLevelName(std::string_view name) {
  for (const NamedLevel& known : kLevelNames) {
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

/// Level of one channel that was set by name. Nodes are never removed, so that readers need no
/// lock; there are as many as distinct names were ever set.
struct ChannelLevel {
  std::string name;
  std::atomic<int> level;
  ChannelLevel* next;
};

/// Serialises the writers; readers look at the atomics only.
std::mutex writers;
std::atomic<ChannelLevel*> channel_levels{nullptr};
std::atomic<int> default_level{kLogWarning};

ChannelLevel* findChannel(const char* channel) {
  ChannelLevel* node = channel_levels.load(std::memory_order_acquire);
  while (node != nullptr && node->name != channel) node = node->next;
  return node;
}

void setEveryChannel(int level) {
  default_level.store(level, std::memory_order_relaxed);
  for (ChannelLevel* node = channel_levels.load(); node != nullptr; node = node->next) {
    node->level.store(level, std::memory_order_relaxed);
  }
}

void setOneChannel(const char* channel, int level) {
  if (ChannelLevel* node = findChannel(channel)) {
    node->level.store(level, std::memory_order_relaxed);
    return;
  }
  auto* node = new ChannelLevel{channel, {level}, channel_levels.load()};
  channel_levels.store(node, std::memory_order_release);
}

void publishMaximum() {
  int maximum = default_level.load();
  for (ChannelLevel* node = channel_levels.load(); node != nullptr; node = node->next) {
    maximum = std::max(maximum, node->level.load());
  }
  max_enabled_log_level.store(maximum, std::memory_order_release);
}

/// Applies NORV_LOG unless that was done; returns the variable's value if it is malformed. The
/// writers' lock is held.
std::optional<std::string> configureFromEnvironment() {
  if (max_enabled_log_level.load(std::memory_order_acquire) != kUnconfigured) return std::nullopt;
  const char* text = std::getenv("NORV_LOG");
  const bool given = text != nullptr && *text != '\0';
  const std::optional<LogLevelSpec> spec = parseLogLevelSpec(given ? text : "warning");
  if (spec) {
    if (spec->every_channel) setEveryChannel(*spec->every_channel);
    for (const auto& [channel, level] : spec->channels) setOneChannel(channel.c_str(), level);
  }
  publishMaximum();
  return spec ? std::nullopt : std::optional<std::string>(text);
}

/// Without the lock, since the sink that gets the statement may set levels itself.
void reportMalformed(const std::optional<std::string>& value) {
  if (value) NORV_LOG(kLogWarning, "logging") << "Ignoring malformed NORV_LOG=" << *value;
}

void configureOnce() {
  std::optional<std::string> malformed;
  {
    const std::lock_guard<std::mutex> lock(writers);
    malformed = configureFromEnvironment();
  }
  reportMalformed(malformed);
}

}  // namespace

std::atomic<int> max_enabled_log_level{kUnconfigured};

bool isChannelEnabled(int level, const char* channel) {
  if (max_enabled_log_level.load(std::memory_order_acquire) == kUnconfigured) configureOnce();
  const ChannelLevel* node = findChannel(channel);
  const std::atomic<int>& enabled = node != nullptr ? node->level : default_level;
  return level <= enabled.load(std::memory_order_relaxed);
}

std::optional<LogLevelSpec> parseLogLevelSpec(std::string_view text) {
  LogLevelSpec spec;
  for (;;) {
    const std::size_t comma = text.find(',');
    if (!parseItem(text.substr(0, comma), &spec)) return std::nullopt;
    if (comma == std::string_view::npos) return spec;
    text.remove_prefix(comma + 1);
  }
}

std::string logLevelName(int level) {
  for (const NamedLevel& known : kLevelNames) {
    if (known.level != level || level == 0) continue;
    std::string name(known.name);
    std::transform(name.begin(), name.end(), name.begin(),
                   [](char c) { return static_cast<char>(c - 'a' + 'A'); });
    return name;
  }
  return "LEVEL" + std::to_string(level);
}

}  // namespace internal

void setLogLevel(const char* channel, int level) {
  // The largest int marks the logger as unconfigured.
  const int clamped = std::clamp(level, 0, INT_MAX - 1);
  std::optional<std::string> malformed;
  {
    const std::lock_guard<std::mutex> lock(internal::writers);
    malformed = internal::configureFromEnvironment();
    if (channel == nullptr) {
      internal::setEveryChannel(clamped);
    } else {
      internal::setOneChannel(channel, clamped);
    }
    internal::publishMaximum();
  }
  internal::reportMalformed(malformed);
}

}  // namespace norv
