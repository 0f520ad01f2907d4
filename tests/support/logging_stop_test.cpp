// Log statements that stop the process.

#include "support/logging.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "tests/support/logging_fixture.h"

namespace norv {
namespace {

using testing::LoggingTest;
using testing::place;
using ::testing::internal::CaptureStderr;
using ::testing::internal::GetCapturedStderr;

using LoggingDeathTest = LoggingTest;

TEST_F(LoggingTest, LevelsOfZeroAndBelowNeverStopTheProcess) {
  for (const int terminating : {0, int{kLogFatal}, INT_MAX}) {
    setTerminatingLevel(terminating);
    for (const int level : {0, -1, INT_MIN}) EXPECT_FALSE(loggerMustBreak(level, "a")) << level;
  }
  // Written in spite of their level, which nothing asks for again.
  CaptureStderr();
  LoggingStream(nullptr, 0, "a", "file.cpp", "function", 1, nullptr) << "text";
  EXPECT_EQ(GetCapturedStderr(), "LEVEL0 a file.cpp:1: text\n");
}

TEST_F(LoggingTest, TerminatingLevel) {
  EXPECT_TRUE(loggerMustBreak(kLogFatal, "a"));
  EXPECT_FALSE(loggerMustBreak(kLogError, "a"));
  setTerminatingLevel(kLogWarning);
  EXPECT_TRUE(loggerMustBreak(kLogFatal, "a"));
  EXPECT_TRUE(loggerMustBreak(kLogWarning, "a"));
  EXPECT_FALSE(loggerMustBreak(kLogInfo, "a"));
  setTerminatingLevel(0);
  EXPECT_FALSE(loggerMustBreak(kLogFatal, "a"));
}

TEST_F(LoggingDeathTest, FatalStatementStopsTheProcess) {
  const int line = __LINE__ + 1;
  EXPECT_EXIT(NORV_LOG(kLogFatal, "a") << "the end", ::testing::KilledBySignal(SIGABRT),
              ::testing::Eq("FATAL a " + place(line) + ": the end\n"));
}

TEST_F(LoggingDeathTest, FormattedFatalStatementStopsTheProcess) {
  const int line = __LINE__ + 1;
  const auto statement = [] { NORV_LOG_FORMAT(kLogFatal, "a", "the %s", "end"); };
  EXPECT_EXIT(statement(), ::testing::KilledBySignal(SIGABRT),
              ::testing::Eq("FATAL a " + place(line) + ": the end\nFATAL check " + place(line) +
                            ": Assertion failed: Reached terminating log level. Terminating\n"));
}

TEST_F(LoggingDeathTest, ErrorsStopTheProcessWhereSoConfigured) {
  setTerminatingLevel(kLogError);
  const int line = __LINE__ + 1;
  EXPECT_EXIT(NORV_LOG(kLogError, "a") << "enough", ::testing::KilledBySignal(SIGABRT),
              ::testing::Eq("ERROR a " + place(line) + ": enough\n"));
  NORV_LOG(kLogWarning, "a") << "goes on";
}

TEST_F(LoggingDeathTest, FatalStatementReachesTheSinkFirst) {
  setLogSink(
      [](const LogRecord& record) { std::fprintf(stderr, "sink: %s\n", record.text.c_str()); });
  EXPECT_EXIT(NORV_LOG(kLogFatal, "a") << "the end", ::testing::KilledBySignal(SIGABRT),
              ::testing::Eq("sink: the end\n"));
}

TEST_F(LoggingDeathTest, AssertionIsAFatalStatementOfTheCheckChannel) {
  // Whatever is enabled, and whatever level terminates.
  setLogLevel(nullptr, 0);
  setTerminatingLevel(0);
  EXPECT_EXIT(handleAssertion("file.cpp", 12, "function", "of %d\n", 7),
              ::testing::KilledBySignal(SIGABRT), ::testing::Eq("FATAL check file.cpp:12: of 7\n"));
  setLogSink([](const LogRecord& record) {
    std::fprintf(stderr, "%d|%s|%s|%s|%d|%s|", record.level, record.channel, record.file,
                 record.function, record.line, record.text.c_str());
  });
  EXPECT_EXIT(handleAssertion("file.cpp", 12, "function", "of %d\n", 7),
              ::testing::KilledBySignal(SIGABRT),
              ::testing::Eq("1|check|file.cpp|function|12|of 7|"));
}

TEST_F(LoggingDeathTest, FatalStatementWithinASinkStopsTheProcess) {
  setLogSink([](const LogRecord& /*record*/) { NORV_LOG(kLogFatal, "sink") << "broken"; });
  EXPECT_EXIT(NORV_LOG(kLogError, "a") << "statement", ::testing::KilledBySignal(SIGABRT),
              ::testing::Eq("FATAL sink " + place(__LINE__ - 2) + ": broken\n"));
}

TEST_F(LoggingTest, DisabledFatalStatementLetsTheProcessGoOn) {
  setLogLevel("a", 0);
  CaptureStderr();
  NORV_LOG(kLogFatal, "a") << "unseen";
  NORV_LOG_FORMAT(kLogFatal, "a", "unseen");
  EXPECT_EQ(GetCapturedStderr(), "");
}

/// Logs from a destructor that runs after the main thread's own variables are gone.
constexpr int late_line = __LINE__ + 2;
struct LateLogger {
  ~LateLogger() { NORV_LOG(kLogError, "late") << "still works"; }
};

TEST_F(LoggingDeathTest, StatementsFromStaticDestructors) {
  const int line = __LINE__ + 1;
  EXPECT_EXIT(
      {
        static const LateLogger late;
        NORV_LOG(kLogError, "early") << "first";
        std::exit(0);
      },
      ::testing::ExitedWithCode(0),
      ::testing::Eq("ERROR early " + place(line + 3) + ": first\nERROR late " + place(late_line) +
                    ": still works\n"));
}

}  // namespace
}  // namespace norv
