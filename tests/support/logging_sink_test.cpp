// Where log statements go: standard error, sinks, and both from several threads.

#include "support/logging.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "testing/log_capture.h"
#include "tests/support/logging_fixture.h"

namespace norv {
namespace {

using ::testing::ElementsAre;
using testing::LoggingTest;
using testing::place;
using testing::ScopedLogCapture;
using ::testing::internal::CaptureStderr;
using ::testing::internal::GetCapturedStderr;

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

}  // namespace
}  // namespace norv
