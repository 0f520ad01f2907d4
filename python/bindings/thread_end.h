#pragma once

#include <unistd.h>

namespace norv::python {

/// For threads that Python would end by unwinding their stacks, since the interpreter is gone: out
/// of destructors there is no unwinding.
[[noreturn]] inline void sleepForever() {
  for (;;) ::pause();
}

}  // namespace norv::python
