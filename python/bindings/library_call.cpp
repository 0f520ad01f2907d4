#include "python/bindings/library_call.h"

#include <pthread.h>

#include "python/bindings/kept_records.h"
#include "python/bindings/thread_end.h"

namespace norv::python {
namespace {

namespace py = pybind11;

thread_local bool is_in_library = false;

/// Taken for reading by calls and for writing by forks. Those who fork come first: others may call
/// without a pause.
class ForkGate {
 public:
  ForkGate() { open(); }

  /// As new, whoever holds it.
  void open() {
    pthread_rwlockattr_t attributes;
    pthread_rwlockattr_init(&attributes);
    pthread_rwlockattr_setkind_np(&attributes, PTHREAD_RWLOCK_PREFER_WRITER_NONRECURSIVE_NP);
    pthread_rwlock_init(&lock_, &attributes);
    pthread_rwlockattr_destroy(&attributes);
  }
  void enter() { pthread_rwlock_rdlock(&lock_); }
  void leave() { pthread_rwlock_unlock(&lock_); }
  void close() { pthread_rwlock_wrlock(&lock_); }

 private:
  pthread_rwlock_t lock_;
};

/// Never destroyed: threads outlive the destructors of global objects.
ForkGate& gate() {
  static auto* const instance = new ForkGate;
  return *instance;
}

/// Where the interpreter is gone the thread is unwound, and must not get out of here.
void takeInterpreter(PyThreadState* state) {
  try {
    PyEval_RestoreThread(state);
  } catch (...) {
    sleepForever();
  }
}

}  // namespace

LibraryCall::LibraryCall() : state_(is_in_library ? nullptr : PyEval_SaveThread()) {
  if (state_ == nullptr) return;
  gate().enter();
  is_in_library = true;
}

LibraryCall::~LibraryCall() {
  if (state_ == nullptr) return;
  is_in_library = false;
  gate().leave();
  takeInterpreter(state_);
  handOverRecords();
}

bool LibraryCall::isUnderWay() { return is_in_library; }

void bindForks(py::module_& module) {
  module.def("_before_fork", [] {
    PyThreadState* const state = PyEval_SaveThread();
    gate().close();
    takeInterpreter(state);
  });
  module.def("_after_fork_in_parent", [] { gate().leave(); });
  module.def("_after_fork_in_child", [] { gate().open(); });
}

}  // namespace norv::python
