#pragma once

#include <signal.h>

namespace norv::internal {

/// While it lives, the signals by which users end programs wait, for the calling thread: what they
/// would leave behind is a file that nobody knows of. A file that outgrows its limit sends no
/// signal, so that the write says it.
class SignalHold {
 public:
  SignalHold();
  SignalHold(const SignalHold&) = delete;
  SignalHold& operator=(const SignalHold&) = delete;
  ~SignalHold();

 private:
  sigset_t before_;
  bool size_signal_waited_;  ///< before this object was made
};

}  // namespace norv::internal
