#pragma once

/// What keeps a process from writing files.

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>

namespace norv::testing {

/// While it lives, the user is one without rights of their own, if the tests run as one who may do
/// everything.
class ScopedOrdinaryUser {
 public:
  ScopedOrdinaryUser() : user_(::geteuid()) {
    if (user_ == 0) {
      EXPECT_EQ(::seteuid(65534), 0);
    }
  }
  ScopedOrdinaryUser(const ScopedOrdinaryUser&) = delete;
  ScopedOrdinaryUser& operator=(const ScopedOrdinaryUser&) = delete;
  ~ScopedOrdinaryUser() { EXPECT_EQ(::seteuid(user_), 0); }

 private:
  uid_t user_;
};

/// While it lives, files cannot grow beyond a size, and a write that tries ends the process unless
/// it takes care.
class ScopedFileSizeLimit {
 public:
  explicit ScopedFileSizeLimit(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_DFL)) {
    EXPECT_EQ(::getrlimit(RLIMIT_FSIZE, &before_), 0);
    const rlimit limit = {bytes, before_.rlim_max};
    EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
  }
  ScopedFileSizeLimit(const ScopedFileSizeLimit&) = delete;
  ScopedFileSizeLimit& operator=(const ScopedFileSizeLimit&) = delete;
  ~ScopedFileSizeLimit() {
    EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &before_), 0);
    std::signal(SIGXFSZ, handler_);
  }

 private:
  rlimit before_ = {};
  void (*handler_)(int);
};

}  // namespace norv::testing
