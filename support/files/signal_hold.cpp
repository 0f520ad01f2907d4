#include "support/files/signal_hold.h"

#include <pthread.h>

#include <ctime>
#include <initializer_list>

namespace norv::internal {
namespace {

bool isSizeSignalWaiting() {
  sigset_t waiting;
  ::sigpending(&waiting);
  return ::sigismember(&waiting, SIGXFSZ) == 1;
}

/// Takes the signal that a write has sent.
void takeSizeSignal() {
  sigset_t size_signal;
  ::sigemptyset(&size_signal);
  ::sigaddset(&size_signal, SIGXFSZ);
  const timespec at_once = {0, 0};
  ::sigtimedwait(&size_signal, nullptr, &at_once);
}

}  // namespace

SignalHold::SignalHold() : size_signal_waited_(isSizeSignalWaiting()) {
  sigset_t held;
  ::sigemptyset(&held);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGXFSZ}) ::sigaddset(&held, signal);
  ::pthread_sigmask(SIG_BLOCK, &held, &before_);
}

SignalHold::~SignalHold() {
  if (!size_signal_waited_ && isSizeSignalWaiting()) takeSizeSignal();
  ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

}  // namespace norv::internal
