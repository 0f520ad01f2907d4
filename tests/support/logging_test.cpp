#include "support/logging.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <iomanip>
#include <locale>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <Eigen/Core>

#include "testing/log_capture.h"
#include "testing/temporary_folder.h"

namespace norv {
namespace {

using ::testing::ElementsAre;
using testing::lines;
using testing::LogLine;
using testing::ScopedLogCapture;
using testing::withGccSpacing;
using ::testing::internal::CaptureStderr;
using ::testing::internal::GetCapturedStderr;

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

using LoggingDeathTest = LoggingTest;

/// "file:line", as standard error shows it, of a line of this file.
std::string place(int line) { return std::string(__FILE__) + ":" + std::to_string(line); }

TEST_F(LoggingTest, StreamStatementIsRecordedWhole) {
  ScopedLogCapture capture;
  NORV_LOG(kLogInfo, "camera_parameters") << "width=" << 640 << ", f=" << 0.5F;
  const int line = __LINE__ - 1;
  const auto logs = capture.take();
  ASSERT_EQ(logs.size(), 1U);
  EXPECT_EQ(logs[0].level, 5);
  EXPECT_EQ(logs[0].channel, "camera_parameters");
  EXPECT_EQ(logs[0].file, "tests/support/logging_test.cpp");
  EXPECT_EQ(logs[0].function, withGccSpacing(__PRETTY_FUNCTION__));
  EXPECT_EQ(logs[0].line, line);
  EXPECT_EQ(logs[0].text, "width=640, f=0.5");
}

TEST_F(LoggingTest, FormattedStatementIsRecordedWhole) {
  ScopedLogCapture capture;
  NORV_LOG_FORMAT(kLogDebug, "ptz_camera_model", "zoom=%d a1=%f, a2=%f", 7, 0.25, 0.75);
  const int line = __LINE__ - 1;
  const auto logs = capture.take();
  ASSERT_EQ(logs.size(), 1U);
  EXPECT_EQ(logs[0].level, 6);
  EXPECT_EQ(logs[0].channel, "ptz_camera_model");
  EXPECT_EQ(logs[0].file, "tests/support/logging_test.cpp");
  EXPECT_EQ(logs[0].function, withGccSpacing(__PRETTY_FUNCTION__));
  EXPECT_EQ(logs[0].line, line);
  EXPECT_EQ(logs[0].text, "zoom=7 a1=0.250000, a2=0.750000");
}

TEST_F(LoggingTest, StatementsAreEmittedWhenTheStreamIsDestroyed) {
  ScopedLogCapture capture;
  int site_state = -1;
  {
    LoggingStream stream(nullptr, kLogError, "channel", "file.cpp", "function", 12, &site_state);
    stream << "a" << 1;
    stream << std::endl << std::hex;
    static_cast<std::ostream&>(stream) << 255;
    EXPECT_TRUE(capture.take().empty());
  }
  EXPECT_THAT(lines(capture.take()), ElementsAre(LogLine{2, "channel", "a1\nff"}));
}

TEST_F(LoggingTest, SiteStateCountsItsStatements) {
  ScopedLogCapture capture;
  int site_state = -1;
  for (int i = 0; i < 3; ++i) {
    LoggingStream(nullptr, kLogError, "channel", "file", "function", 1, &site_state) << i;
    EXPECT_EQ(site_state, i);
  }
  logToLogger(nullptr, kLogError, "channel", "file", "function", 1, &site_state, "%d", 3);
  EXPECT_EQ(site_state, 3);
  LoggingStream(nullptr, kLogError, "channel", "file", "function", 1, nullptr) << "no state";
  EXPECT_EQ(capture.take().size(), 5U);
}

TEST_F(LoggingTest, FormattingDoesNotCarryOverToTheNextStatement) {
  ScopedLogCapture capture;
  NORV_LOG(kLogInfo, "a") << std::hex << std::showbase << std::setfill('*') << std::setw(6) << 255
                          << std::setprecision(12) << std::fixed << 0.1 << std::setw(9);
  NORV_LOG(kLogInfo, "a") << 255 << " " << 0.1 << " " << 1e10;
  EXPECT_THAT(lines(capture.take()), ElementsAre(LogLine{5, "a", "**0xff0.100000000000"},
                                                 LogLine{5, "a", "255 0.1 1e+10"}));
}

TEST_F(LoggingTest, BrokenStreamStateDoesNotCarryOver) {
  ScopedLogCapture capture;
  {
    LoggingStream stream(nullptr, kLogInfo, "a", "file", "function", 1, nullptr);
    stream << "before";
    stream.stream().setstate(std::ios::badbit);
    stream << "lost";
  }
  NORV_LOG(kLogInfo, "a") << "whole";
  EXPECT_THAT(lines(capture.take()),
              ElementsAre(LogLine{5, "a", "before"}, LogLine{5, "a", "whole"}));
}

TEST_F(LoggingTest, VectorsPrintInEigensFormat) {
  ScopedLogCapture capture;
  const Eigen::Vector3f vector(1, -0.5F, 2.25F);
  NORV_LOG(kLogInfo, "a") << "w3=" << vector;
  std::ostringstream expected;
  expected << "w3=" << vector;
  EXPECT_EQ(capture.take().at(0).text, expected.str());
}

TEST_F(LoggingTest, LongTextsAreKeptWhole) {
  ScopedLogCapture capture;
  for (const std::size_t length : {511U, 512U, 513U, 5000U, 1000000U, 3U}) {
    const std::string text(length, 'x');
    NORV_LOG(kLogInfo, "a") << text << '!';
    NORV_LOG_FORMAT(kLogInfo, "a", "%s!", text.c_str());
    const auto logs = capture.take();
    ASSERT_EQ(logs.size(), 2U);
    EXPECT_EQ(logs[0].text, text + "!");
    EXPECT_EQ(logs[1].text, text + "!");
  }
}

TEST_F(LoggingTest, StatementWithinAStatement) {
  ScopedLogCapture capture;
  const auto inner = [] {
    NORV_LOG(kLogInfo, "inner") << "inner text";
    return "value";
  };
  NORV_LOG(kLogInfo, "outer") << "before " << inner() << " after";
  EXPECT_THAT(lines(capture.take()), ElementsAre(LogLine{5, "inner", "inner text"},
                                                 LogLine{5, "outer", "before value after"}));
}

TEST_F(LoggingTest, DisabledStatementsBuildNothing) {
  ScopedLogCapture capture(kLogInfo);
  int built = 0;
  const auto build = [&] { return ++built; };
  NORV_LOG(kLogDebug, "a") << build();
  NORV_LOG_FORMAT(kLogDebug, "a", "%d", build());
  EXPECT_EQ(built, 0);
  // The same where another channel does enable the level.
  setLogLevel("b", kLogDebug);
  NORV_LOG(kLogDebug, "a") << build();
  NORV_LOG_FORMAT(kLogDebug, "a", "%d", build());
  EXPECT_EQ(built, 0);
  NORV_LOG(kLogDebug, "b") << build();
  NORV_LOG_FORMAT(kLogDebug, "b", "%d", build());
  EXPECT_EQ(built, 2);
  EXPECT_THAT(lines(capture.take()), ElementsAre(LogLine{6, "b", "1"}, LogLine{6, "b", "2"}));
}

TEST_F(LoggingTest, UsableInBareIfAndElse) {
  ScopedLogCapture capture;
  for (const bool first : {true, false}) {
    if (first)
      NORV_LOG(kLogInfo, "a") << "then";
    else
      NORV_LOG(kLogInfo, "a") << "else";
    if (first)
      NORV_LOG_FORMAT(kLogInfo, "a", "then");
    else
      NORV_LOG_FORMAT(kLogInfo, "a", "else");
  }
  EXPECT_THAT(lines(capture.take()), ElementsAre(LogLine{5, "a", "then"}, LogLine{5, "a", "then"},
                                                 LogLine{5, "a", "else"}, LogLine{5, "a", "else"}));
}

TEST_F(LoggingTest, LevelsPerChannel) {
  setLogLevel(nullptr, kLogWarning);
  EXPECT_TRUE(isLoggerEnabled(kLogWarning, "a"));
  EXPECT_FALSE(isLoggerEnabled(kLogInfo, "a"));
  setLogLevel("a", kLogDebug);
  EXPECT_TRUE(isLoggerEnabled(kLogDebug, "a"));
  EXPECT_FALSE(isLoggerEnabled(kLogInfo, "b"));
  setLogLevel("a", 0);
  EXPECT_FALSE(isLoggerEnabled(kLogFatal, "a"));
  EXPECT_TRUE(isLoggerEnabled(kLogFatal, "b"));
  setLogLevel(nullptr, kLogError);
  EXPECT_TRUE(isLoggerEnabled(kLogError, "a"));
  EXPECT_FALSE(isLoggerEnabled(kLogWarning, "a"));
  EXPECT_FALSE(isLoggerEnabled(kLogWarning, "b"));
  setLogLevel(nullptr, INT_MAX);
  EXPECT_TRUE(isLoggerEnabled(1000, "a"));
  setLogLevel(nullptr, INT_MIN);
  EXPECT_FALSE(isLoggerEnabled(kLogFatal, "a"));
}

TEST_F(LoggingTest, LevelsOfZeroAndBelowAreNeverEnabled) {
  for (const int enabled : {0, int{kLogWarning}, INT_MAX}) {
    setLogLevel(nullptr, enabled);
    setLogLevel("a", enabled);
    for (const int level : {0, -1, -5, INT_MIN}) {
      EXPECT_FALSE(isLoggerEnabled(level, "a")) << level;
      EXPECT_FALSE(isLoggerEnabled(level, "b")) << level;
    }
  }
  CaptureStderr();
  NORV_LOG(0, "a") << "unseen";
  NORV_LOG_FORMAT(-1, "a", "unseen");
  EXPECT_EQ(GetCapturedStderr(), "");
}

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

TEST_F(LoggingTest, ChannelsAreComparedByTheirText) {
  const std::string name = "some_channel";
  setLogLevel(std::string(name).c_str(), kLogDebug);
  EXPECT_TRUE(isLoggerEnabled(kLogDebug, std::string(name).c_str()));
  EXPECT_FALSE(isLoggerEnabled(kLogDebug, "some_channe"));
  EXPECT_FALSE(isLoggerEnabled(kLogDebug, "some_channel_"));
  EXPECT_FALSE(isLoggerEnabled(kLogDebug, ""));
}

TEST_F(LoggingTest, WarningsAndWorseReachStandardErrorByDefault) {
  CaptureStderr();
  NORV_LOG(kLogInfo, "a") << "quiet";
  NORV_LOG(kLogWarning, "a") << "first";
  const int line = __LINE__ - 1;
  NORV_LOG_FORMAT(kLogError, "b", "%s", "second");
  EXPECT_EQ(GetCapturedStderr(),
            "WARNING a " + place(line) + ": first\nERROR b " + place(line + 2) + ": second\n");
}

TEST_F(LoggingTest, AStatementIsOneLineOnStandardError) {
  setLogLevel(nullptr, kLogDebug);
  CaptureStderr();
  NORV_LOG(kLogInfo, "a") << "one\ntwo\r\n\tthree\x1b[0m \x7f caf\xc3\xa9";
  const int line = __LINE__ - 1;
  NORV_LOG(4, "a") << "between";
  EXPECT_EQ(GetCapturedStderr(),
            "INFO a " + place(line) +
                ": one\\ntwo\\x0d\\n\\x09three\\x1b[0m \\x7f caf\xc3\xa9\nLEVEL4 a " +
                place(line + 2) + ": between\n");
}

TEST_F(LoggingTest, StandardErrorGetsNothingThatActsOnATerminal) {
  // A control sequence introducer of one character, an override of the direction, a line separator
  // and a byte that is no text.
  const std::string introducer = "\xc2\x9b";
  const std::string override_mark = {'\xe2', '\x80', '\xae'};
  const std::string separator = "\xe2\x80\xa8";
  const std::string text = introducer + "2J " + override_mark + " " + separator + " \xff \xc3\xa9";
  CaptureStderr();
  NORV_LOG(kLogError, "a") << text;
  const int line = __LINE__ - 1;
  EXPECT_EQ(
      GetCapturedStderr(),
      "ERROR a " + place(line) + ": \\xc2\\x9b2J \\xe2\\x80\\xae \\xe2\\x80\\xa8 \\xff \xc3\xa9\n");
}

TEST_F(LoggingTest, StandardErrorGetsTheBeginningOfALongText) {
  const std::string beginning(4096, 'x');
  const std::string rest(1000000, 'y');
  CaptureStderr();
  NORV_LOG(kLogError, "a") << beginning << rest;
  NORV_LOG_FORMAT(kLogError, "a", "%s%s", beginning.c_str(), rest.c_str());
  const int line = __LINE__ - 1;
  EXPECT_EQ(GetCapturedStderr(), "ERROR a " + place(line - 1) + ": " + beginning +
                                     " ... (1000000 more bytes)\nERROR a " + place(line) + ": " +
                                     beginning + " ... (1000000 more bytes)\n");
  // A sink gets all of it.
  ScopedLogCapture capture;
  NORV_LOG(kLogError, "a") << beginning << rest;
  EXPECT_EQ(capture.take().at(0).text, beginning + rest);
}

/// A value that cannot be written.
struct Unwritable {
  friend std::ostream& operator<<(std::ostream& /*out*/, const Unwritable& /*value*/) {
    throw std::runtime_error("unwritable");
  }
};

TEST_F(LoggingTest, WhatAValueThrowsPassesOn) {
  ScopedLogCapture capture;
  EXPECT_THROW(NORV_LOG(kLogInfo, "a") << "before " << Unwritable(), std::runtime_error);
  EXPECT_THAT(lines(capture.take()), ElementsAre(LogLine{5, "a", "before "}));
}

TEST_F(LoggingTest, EmptySinkRestoresStandardError) {
  int received = 0;
  setLogSink([&](const LogRecord& /*record*/) { ++received; });
  CaptureStderr();
  NORV_LOG(kLogError, "a") << "to the sink";
  EXPECT_EQ(GetCapturedStderr(), "");
  EXPECT_EQ(received, 1);
  setLogSink(nullptr);
  CaptureStderr();
  NORV_LOG(kLogError, "a") << "to standard error";
  EXPECT_EQ(GetCapturedStderr(), "ERROR a " + place(__LINE__ - 1) + ": to standard error\n");
  EXPECT_EQ(received, 1);
}

TEST_F(LoggingTest, SinkThatLogs) {
  std::vector<std::string> received;
  setLogSink([&](const LogRecord& record) {
    received.push_back(record.text);
    NORV_LOG(kLogError, "sink") << "about " << record.text;
  });
  CaptureStderr();
  NORV_LOG(kLogError, "a") << "statement";
  EXPECT_EQ(GetCapturedStderr(), "ERROR sink " + place(__LINE__ - 4) + ": about statement\n");
  EXPECT_THAT(received, ElementsAre("statement"));
}

TEST_F(LoggingTest, SinkThatThrows) {
  int calls = 0;
  setLogSink([&](const LogRecord& /*record*/) {
    ++calls;
    throw std::runtime_error("full");
  });
  CaptureStderr();
  NORV_LOG(kLogError, "a") << "first";
  NORV_LOG(kLogError, "a") << "second";
  const int line = __LINE__ - 1;
  EXPECT_EQ(GetCapturedStderr(),
            "ERROR a " + place(line - 1) + ": first\nERROR a " + place(line) + ": second\n");
  EXPECT_EQ(calls, 2);
}

TEST_F(LoggingTest, SinkThatReplacesItself) {
  std::vector<std::string> received;
  setLogSink([&received](const LogRecord& record) {
    received.push_back("first: " + record.text);
    setLogSink([&received](const LogRecord& next) { received.push_back("second: " + next.text); });
    // The captures of the replaced sink are still alive.
    received.push_back("first again: " + record.text);
  });
  NORV_LOG(kLogError, "a") << 1;
  NORV_LOG(kLogError, "a") << 2;
  EXPECT_THAT(received, ElementsAre("first: 1", "first again: 1", "second: 2"));
}

TEST_F(LoggingTest, SinkWhoseCapturesLogWhenTheyDie) {
  static constexpr int kLine = __LINE__ + 2;
  struct Mourner {
    ~Mourner() { NORV_LOG(kLogError, "mourner") << "gone"; }
  };
  // Replaced from outside.
  setLogSink([mourner = std::make_shared<Mourner>()](const LogRecord& /*record*/) {});
  CaptureStderr();
  setLogSink({});
  EXPECT_EQ(GetCapturedStderr(), "ERROR mourner " + place(kLine) + ": gone\n");
  // Replaced from within.
  setLogSink(
      [mourner = std::make_shared<Mourner>()](const LogRecord& /*record*/) { setLogSink({}); });
  CaptureStderr();
  NORV_LOG(kLogError, "a") << "statement";
  EXPECT_EQ(GetCapturedStderr(), "ERROR mourner " + place(kLine) + ": gone\n");
}

TEST_F(LoggingTest, SinkThatSetsLevels) {
  int received = 0;
  setLogSink([&](const LogRecord& /*record*/) {
    ++received;
    setLogLevel(nullptr, 0);
    setTerminatingLevel(0);
  });
  NORV_LOG(kLogError, "a") << "first";
  NORV_LOG(kLogError, "a") << "second";
  EXPECT_EQ(received, 1);
}

TEST_F(LoggingTest, ConcurrentStatementsReachTheSinkOneByOne) {
  constexpr int kThreads = 8;
  constexpr int kStatements = 2000;
  std::vector<std::string> received;  // unguarded on purpose: the logger makes one call at a time
  setLogSink([&](const LogRecord& record) { received.push_back(record.text); });
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t] {
      for (int i = 0; i < kStatements; ++i) {
        if (i % 2 == 0) {
          NORV_LOG(kLogError, "a") << "thread " << t << " statement " << i;
        } else {
          NORV_LOG_FORMAT(kLogError, "a", "thread %d statement %d", t, i);
        }
        if (i % 100 == 0) setLogLevel("other", i);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  ASSERT_EQ(received.size(), static_cast<std::size_t>(kThreads * kStatements));
  // Each thread's statements arrive whole and in their order.
  std::vector<int> next(kThreads, 0);
  for (const std::string& text : received) {
    std::istringstream words(text);
    std::string thread;
    std::string statement;
    int t = -1;
    int i = -1;
    ASSERT_TRUE(words >> thread >> t >> statement >> i) << text;
    ASSERT_EQ(next.at(static_cast<std::size_t>(t))++, i);
  }
}

TEST_F(LoggingTest, ConcurrentLinesOnStandardErrorDoNotInterleave) {
  constexpr int kThreads = 8;
  constexpr int kStatements = 200;
  const std::string payload(300, 'p');
  CaptureStderr();
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < kStatements; ++i) NORV_LOG(kLogError, "a") << payload;
    });
  }
  for (std::thread& thread : threads) thread.join();
  const std::string expected = "ERROR a " + place(__LINE__ - 4) + ": " + payload;
  std::istringstream output(GetCapturedStderr());
  int count = 0;
  for (std::string line; std::getline(output, line); ++count) ASSERT_EQ(line, expected);
  EXPECT_EQ(count, kThreads * kStatements);
}

TEST_F(LoggingTest, SinksMayBeReplacedWhileOthersLog) {
  std::atomic<int> received{0};
  std::atomic<bool> done{false};
  const LogSink sink = [&](const LogRecord& /*record*/) { ++received; };
  setLogSink(sink);
  std::thread replacer([&] {
    while (!done) setLogSink(sink);
  });
  for (int i = 0; i < 5000; ++i) NORV_LOG(kLogError, "a") << i;
  done = true;
  replacer.join();
  EXPECT_EQ(received, 5000);
}

/// Decimal commas and grouped thousands, as some users' global locale has them.
class CommaPunctuation : public std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

TEST_F(LoggingTest, StreamsIgnoreTheGlobalLocale) {
  ScopedLogCapture capture;
  const std::locale before =
      std::locale::global(std::locale(std::locale::classic(), new CommaPunctuation));
  std::thread([] { NORV_LOG(kLogInfo, "a") << 1234567 << " " << 0.5; }).join();
  std::locale::global(before);
  EXPECT_EQ(capture.take().at(0).text, "1234567 0.5");
}

TEST_F(LoggingTest, FormattedStatementsIgnoreTheGlobalLocale) {
  // A locale with decimal commas, made here since none may be installed.
  const testing::TemporaryFolder folder;
  const std::string source = folder.write("source",
                                          "LC_NUMERIC\ndecimal_point \",\"\nthousands_sep \"\"\n"
                                          "grouping -1\nEND LC_NUMERIC\n");
  const std::string command = "localedef -c --no-archive -i '" + source + "' '" +
                              folder.path("comma_XX") + "' 2> /dev/null";
  static_cast<void>(std::system(command.c_str()));  // warns about the categories left out
  ::setenv("LOCPATH", folder.path().c_str(), 1);
  ASSERT_NE(std::setlocale(LC_NUMERIC, "comma_XX"), nullptr);
  char text[16];
  std::snprintf(text, sizeof(text), "%.1f", 0.5);
  EXPECT_STREQ(text, "0,5");

  ScopedLogCapture capture;
  NORV_LOG_FORMAT(kLogInfo, "a", "%f", 0.5);
  EXPECT_EQ(capture.take().at(0).text, "0.500000");
  // The caller's locale is in force again.
  std::snprintf(text, sizeof(text), "%.1f", 0.5);
  EXPECT_STREQ(text, "0,5");
  std::setlocale(LC_NUMERIC, "C");
  ::unsetenv("LOCPATH");
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
