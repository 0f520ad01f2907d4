#pragma once

/// Objects that loads change while other threads may ask them. The library leaves that to its
/// callers; programs in Python are not used to being asked.

#include <memory>
#include <mutex>
#include <shared_mutex>

#include "python/bindings/library_call.h"

namespace norv::python {

/// Whether this thread is inside of a handler that the library's logger called.
bool isHandlingRecord();

/// Says so while it lives.
class RecordHandling {
 public:
  RecordHandling();
  RecordHandling(const RecordHandling&) = delete;
  RecordHandling& operator=(const RecordHandling&) = delete;
  ~RecordHandling();
};

/// Keeps loads of an object apart from its other uses. Waits with the interpreter's lock released,
/// but never within a handler that the logger itself called: it calls one at a time, so that the
/// one who is waited for could be waiting for this very handler. There RuntimeError is thrown.
/// Handlers are called like that where no `LibraryCall` is under way on the thread that logs.
class UseLock {
 public:
  /// `action()` without the interpreter's lock, while others may read too.
  template <class Action>
  auto read(const Action& action) const {
    const LibraryCall call;
    lockShared();
    const std::shared_lock<std::shared_mutex> held(mutex_, std::adopt_lock);
    return action();
  }

  /// `action()` without the interpreter's lock, alone.
  template <class Action>
  auto change(const Action& action) {
    const LibraryCall call;
    lockAlone();
    const std::unique_lock<std::shared_mutex> held(mutex_, std::adopt_lock);
    return action();
  }

 private:
  void lockShared() const;
  void lockAlone();

  mutable std::shared_mutex mutex_;
};

}  // namespace norv::python
