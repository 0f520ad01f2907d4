#include "python/bindings/use_lock.h"

#include <stdexcept>

namespace norv::python {
namespace {

thread_local bool is_handling_record = false;

[[noreturn]] void refuse() {
  throw std::runtime_error(
      "the object is in use, and a handler of log records must not wait for it");
}

}  // namespace

bool isHandlingRecord() { return is_handling_record; }

RecordHandling::RecordHandling() { is_handling_record = true; }
RecordHandling::~RecordHandling() { is_handling_record = false; }

void UseLock::lockShared() const {
  if (!isHandlingRecord()) return mutex_.lock_shared();
  if (!mutex_.try_lock_shared()) refuse();
}

void UseLock::lockAlone() {
  if (!isHandlingRecord()) return mutex_.lock();
  if (!mutex_.try_lock()) refuse();
}

}  // namespace norv::python
