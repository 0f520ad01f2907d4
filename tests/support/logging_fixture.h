#pragma once

/// Tests of the logger begin and end with the same settings.

#include <gtest/gtest.h>

#include <string>

#include "support/logging.h"

namespace norv::testing {

/// Sets what the logger starts with, whatever the environment says, and restores it.
class LoggingTest : public ::testing::Test {
 public:
  LoggingTest() { reset(); }
  ~LoggingTest() override { reset(); }

 private:
  static void reset() {
    setLogSink({});
    setLogLevel(nullptr, kLogWarning);
    setTerminatingLevel(kLogFatal);
  }
};

/// "file:line", as standard error shows it, of a line of the file that calls this.
inline std::string place(int line, const char* file = __builtin_FILE()) {
  return std::string(file) + ":" + std::to_string(line);
}

}  // namespace norv::testing
