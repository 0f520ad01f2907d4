#include "support/log/delivery.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <new>
#include <thread>
#include <utility>

#include "support/log/error_line.h"
#include "support/log_level.h"

namespace norv::internal {
namespace {

/// Where statements go.
struct Output {
  std::mutex delivery;  ///< held while a statement is delivered: one at a time
  std::mutex guard;     ///< of `sink`; apart from `delivery`, so that a sink may replace itself
  std::shared_ptr<const LogSink> sink;
  ErrorLine line;  ///< used by the holder of `delivery`
  /// The thread that is inside the sink (or inside the destructor of a replaced one).
  std::atomic<std::thread::id> thread_in_sink{};
};

/// Never destroyed, since destructors of global objects log too, and made without an allocation,
/// which could fail.
Output& output() {
  alignas(Output) static unsigned char memory[sizeof(Output)];
  static auto* const instance = new (memory) Output;
  return *instance;
}

std::atomic<int> stopping_level{kLogFatal};

/// One write, so that lines of several threads and processes do not mix.
void writeToStandardError(const LogRecord& record) {
  ErrorLine& line = output().line;
  line.set(record);
  std::fwrite(line.view().data(), 1, line.view().size(), stderr);
  std::fflush(stderr);
}

std::shared_ptr<const LogSink> currentSink() {
  const std::lock_guard<std::mutex> lock(output().guard);
  return output().sink;
}

void callSink(std::shared_ptr<const LogSink> sink, const LogRecord& record) {
  std::atomic<std::thread::id>& thread_in_sink = output().thread_in_sink;
  thread_in_sink.store(std::this_thread::get_id(), std::memory_order_relaxed);
  try {
    (*sink)(record);
  } catch (...) {
    writeToStandardError(record);
  }
  // A sink that replaced itself is destroyed here, and its captures may log.
  sink.reset();
  thread_in_sink.store({}, std::memory_order_relaxed);
}

/// No other thread stores this thread's id, so that no order has to be asked for.
bool isThisThreadInSink() {
  return output().thread_in_sink.load(std::memory_order_relaxed) == std::this_thread::get_id();
}

}  // namespace

void replaceSink(LogSink sink) {
  auto replacement =
      sink ? std::make_shared<const LogSink>(std::move(sink)) : std::shared_ptr<const LogSink>();
  // The old sink is destroyed after the lock is released: its captures may log.
  const std::lock_guard<std::mutex> lock(output().guard);
  output().sink.swap(replacement);
}

void setStoppingLevel(int level) { stopping_level.store(level, std::memory_order_relaxed); }

void deliver(const LogRecord& record) noexcept {
  if (isThisThreadInSink()) {
    writeToStandardError(record);  // this thread holds the lock
    return;
  }
  const std::lock_guard<std::mutex> lock(output().delivery);
  if (std::shared_ptr<const LogSink> sink = currentSink()) {
    callSink(std::move(sink), record);
  } else {
    writeToStandardError(record);
  }
}

bool stopsProcess(int level) {
  return level > 0 && level <= stopping_level.load(std::memory_order_relaxed);
}

void stopProcess() {
  std::fflush(stderr);
  std::abort();
}

}  // namespace norv::internal
