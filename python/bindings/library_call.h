#pragma once

#include <pybind11/pybind11.h>

namespace norv::python {

/// Calls into the library: while one lives, its thread has let go of the interpreter's lock, and
/// the library's log records are kept for the handlers in Python, which get them at the end.
///
/// Handlers called by the logger itself would run while it keeps all other threads that log
/// waiting: one of them may have what the handler waits for, such as the lock of the handler.
///
/// At the end of a process, threads that still run are kept from the interpreter. Python 3.9 to
/// 3.13 end them by unwinding their stacks, which destructors do not survive; here they sleep.
class LibraryCall {
 public:
  /// Needs the interpreter's lock, or a call that is under way on this thread: then it does
  /// nothing.
  LibraryCall();
  LibraryCall(const LibraryCall&) = delete;
  LibraryCall& operator=(const LibraryCall&) = delete;
  ~LibraryCall();

  /// Whether this thread is in one.
  static bool isUnderWay();

 private:
  PyThreadState* state_;  ///< null of calls within calls
};

/// Keeps forks of the process from being made while other threads are in the library, whose locks
/// would stay taken in the new process. Adds what `os.register_at_fork` is told.
void bindForks(pybind11::module_& module);

}  // namespace norv::python
