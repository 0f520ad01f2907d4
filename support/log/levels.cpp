#include "support/log/levels.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <mutex>
#include <new>
#include <optional>
#include <string>

#include "support/log/delivery.h"
#include "support/log/level_names.h"
#include "support/log/text.h"
#include "support/log_record.h"

namespace norv::internal {
namespace {

constexpr int kUnconfigured = INT_MAX;

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

/// The node of a channel; a new one has the level that the channel had without it. When it throws
/// std::bad_alloc, nothing has changed.
ChannelLevel& channelNode(const char* channel) {
  if (ChannelLevel* node = findChannel(channel)) return *node;
  auto* node = new ChannelLevel{channel, {default_level.load()}, channel_levels.load()};
  channel_levels.store(node, std::memory_order_release);
  return *node;
}

void setEveryChannel(int level) {
  default_level.store(level, std::memory_order_relaxed);
  for (ChannelLevel* node = channel_levels.load(); node != nullptr; node = node->next) {
    node->level.store(level, std::memory_order_relaxed);
  }
}

void setOneChannel(const char* channel, int level) {
  channelNode(channel).level.store(level, std::memory_order_relaxed);
}

void publishMaximum() {
  int maximum = default_level.load();
  for (ChannelLevel* node = channel_levels.load(); node != nullptr; node = node->next) {
    maximum = std::max(maximum, node->level.load());
  }
  max_enabled_log_level.store(maximum, std::memory_order_release);
}

/// When it throws std::bad_alloc, no level has changed: the nodes are made first.
void apply(const LogLevelSpec& spec) {
  for (const auto& item : spec.channels) channelNode(item.first.c_str());
  if (spec.every_channel) setEveryChannel(*spec.every_channel);
  for (const auto& [channel, level] : spec.channels) setOneChannel(channel.c_str(), level);
}

/// Applies NORV_LOG unless that was done; returns the variable's value if it is malformed, else
/// nullptr. The writers' lock is held. When it throws std::bad_alloc, the initial levels are in
/// force and the logger is still to be configured.
const char* configureFromEnvironment() {
  if (max_enabled_log_level.load(std::memory_order_acquire) != kUnconfigured) return nullptr;
  const char* text = std::getenv("NORV_LOG");
  const bool given = text != nullptr && *text != '\0';
  const std::optional<LogLevelSpec> spec = parseLogLevelSpec(given ? text : "warning");
  if (spec) apply(*spec);
  publishMaximum();
  return spec ? nullptr : text;
}

/// Without the lock, since the sink that gets the statement may set levels itself.
void reportMalformed(const char* value) {
  constexpr const char* kChannel = "logging";
  if (value == nullptr || !isLoggerEnabled(kLogWarning, kChannel)) return;
  const auto text = [&] { return std::string("Ignoring malformed NORV_LOG=") + value; };
  deliver({kLogWarning, kChannel, __FILE__, __PRETTY_FUNCTION__, __LINE__,
           textUnlessOutOfMemory(text)});
  if (stopsProcess(kLogWarning)) stopProcess();
}

void configureOnce() {
  const char* malformed = nullptr;
  try {
    const std::lock_guard<std::mutex> lock(writers);
    malformed = configureFromEnvironment();
  } catch (const std::bad_alloc&) {
    return;
  }
  reportMalformed(malformed);
}

}  // namespace

std::atomic<int> max_enabled_log_level{kUnconfigured};

bool isChannelEnabled(int level, const char* channel) {
  if (max_enabled_log_level.load(std::memory_order_acquire) == kUnconfigured) configureOnce();
  const ChannelLevel* node = findChannel(channel);
  const std::atomic<int>& enabled = node != nullptr ? node->level : default_level;
  return level > 0 && level <= enabled.load(std::memory_order_relaxed);
}

void setChannelLevel(const char* channel, int level) {
  // The largest int marks the logger as unconfigured.
  const int clamped = std::clamp(level, 0, INT_MAX - 1);
  const char* malformed = nullptr;
  {
    const std::lock_guard<std::mutex> lock(writers);
    malformed = configureFromEnvironment();
    if (channel == nullptr) {
      setEveryChannel(clamped);
    } else {
      setOneChannel(channel, clamped);
    }
    publishMaximum();
  }
  reportMalformed(malformed);
}

}  // namespace norv::internal
