#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "support/checks.h"
#include "support/logging.h"
#include "testing/failing_allocations.h"

namespace norv {
namespace {

using Failing = testing::ScopedFailingAllocations::Failing;
using testing::hasAllocationFailed;
using ::testing::internal::CaptureStderr;
using ::testing::internal::GetCapturedStderr;

constexpr const char* kNotice = "(out of memory)";
constexpr const char* kChannel = "channel";

/// Needs more than the memory that a statement brings along.
const std::string long_text(3000, 'x');

struct Statement {
  const char* name;
  std::string channel;
  std::string text;
  std::function<void()> run;
};

std::vector<Statement> everyStyle() {
  const std::string medium(100, 'm');
  return {
      {"short stream", kChannel, "short 7", [] { NORV_LOG(kLogError, kChannel) << "short " << 7; }},
      {"stream", kChannel, medium + " 7",
       [medium] { NORV_LOG(kLogError, kChannel) << medium << " " << 7; }},
      {"long stream", kChannel, long_text + long_text + "7",
       [] { NORV_LOG(kLogError, kChannel) << long_text << long_text << 7; }},
      {"short format", kChannel, "short 7",
       [] { NORV_LOG_FORMAT(kLogError, kChannel, "short %d", 7); }},
      {"format", kChannel, medium + " 7",
       [medium] { NORV_LOG_FORMAT(kLogError, kChannel, "%s %d", medium.c_str(), 7); }},
      {"check", "check", "Check failed medium.size() == 7 ",
       [medium] { NORV_CHECK(medium.size() == 7); }},
      {"comparison", "check", "Check failed: -3 > 5 (-3 vs. 5) ", [] { NORV_CHECK_GT(-3, 5); }},
  };
}

/// Takes the lines that the logger keeps for later statements, so that the next one has to ask for
/// memory, and gives them back at the end.
class ScopedKeptLines {
 public:
  ScopedKeptLines() {
    for (auto& line : lines_) {
      line = std::make_unique<LoggingStream>(nullptr, kLogError, "kept", "", "", 0, nullptr);
    }
  }
  ScopedKeptLines(const ScopedKeptLines&) = delete;
  ScopedKeptLines& operator=(const ScopedKeptLines&) = delete;
  ~ScopedKeptLines() {
    setLogSink([](const LogRecord& /*record*/) {});
    for (auto& line : lines_) line.reset();
    setLogSink({});
  }

 private:
  std::array<std::unique_ptr<LoggingStream>, 16> lines_;
};

/// Receives statements without an allocation.
struct Received {
  int count = 0;
  int level = 0;
  std::array<char, 16> channel = {};
  std::array<char, 8192> text = {};

  void add(const LogRecord& record) {
    ++count;
    level = record.level;
    std::snprintf(channel.data(), channel.size(), "%s", record.channel);
    std::snprintf(text.data(), text.size(), "%s", record.text.c_str());
  }
};

class LoggingOutOfMemoryTest : public ::testing::TestWithParam<Failing> {
 public:
  LoggingOutOfMemoryTest() {
    setLogLevel(nullptr, kLogDebug);
    setTerminatingLevel(0);
  }
  ~LoggingOutOfMemoryTest() override {
    setLogSink({});
    setLogLevel(nullptr, kLogWarning);
    setTerminatingLevel(kLogFatal);
  }
};

INSTANTIATE_TEST_SUITE_P(Failures, LoggingOutOfMemoryTest,
                         ::testing::Values(Failing::kOnce, Failing::kFromThenOn),
                         [](const auto& param_info) {
                           return param_info.param == Failing::kOnce ? "Once" : "FromThenOn";
                         });

/// Runs the statement with the failure at its first allocation, at its second, and so on until none
/// fails; after each of them `verify(failed)`. Returns the number of runs that failed.
template <class Prepare, class Verify>
int failEverywhere(const Statement& statement, Failing failing, const Prepare& prepare,
                   const Verify& verify) {
  for (int succeeding = 0;; ++succeeding) {
    const ScopedKeptLines taken;
    prepare();
    {
      const testing::ScopedFailingAllocations failures(succeeding, failing);
      statement.run();
    }
    const bool failed = hasAllocationFailed();
    verify(failed);
    if (!failed) return succeeding;
  }
}

TEST_P(LoggingOutOfMemoryTest, SinkGetsTheNoticeInPlaceOfTheText) {
  for (const Statement& statement : everyStyle()) {
    SCOPED_TRACE(statement.name);
    Received received;
    const int failures = failEverywhere(
        statement, GetParam(),
        [&] {
          received = {};
          setLogSink([&received](const LogRecord& record) { received.add(record); });
        },
        [&](bool failed) {
          EXPECT_EQ(received.count, 1);
          EXPECT_STREQ(received.channel.data(), statement.channel.c_str());
          EXPECT_STREQ(received.text.data(), failed ? kNotice : statement.text.c_str());
        });
    // Only a short formatted text asks for no memory.
    EXPECT_GE(failures, std::strcmp(statement.name, "short format") == 0 ? 0 : 1);
  }
}

TEST_P(LoggingOutOfMemoryTest, StandardErrorGetsTheNoticeInPlaceOfTheText) {
  for (const Statement& statement : everyStyle()) {
    SCOPED_TRACE(statement.name);
    failEverywhere(statement, GetParam(), CaptureStderr, [&](bool failed) {
      const std::string line = GetCapturedStderr();
      const std::string text = line.substr(line.find(": ") + 2);
      EXPECT_EQ(text.substr(0, 4096), ((failed ? kNotice : statement.text) + "\n").substr(0, 4096));
      EXPECT_EQ(line.find('\n'), line.size() - 1);
    });
  }
}

TEST_P(LoggingOutOfMemoryTest, SinkThatRunsOutOfMemoryLeavesTheStatementToStandardError) {
  // Kept outside of the sink: a compiler may leave out an allocation that nothing looks at.
  std::vector<char> copy;
  setLogSink([&copy](const LogRecord& /*record*/) { copy = std::vector<char>(1000); });
  NORV_LOG(kLogError, kChannel) << "the next one finds a line to write into";
  CaptureStderr();
  {
    const testing::ScopedFailingAllocations failures(0, GetParam());
    NORV_LOG(kLogError, kChannel) << "short " << 7;
  }
  EXPECT_TRUE(hasAllocationFailed());
  EXPECT_THAT(GetCapturedStderr(), ::testing::MatchesRegex("ERROR channel [^ ]+: short 7\n"));
}

TEST_P(LoggingOutOfMemoryTest, LaterStatementsAreWhole) {
  const ScopedKeptLines taken;
  Received received;
  setLogSink([&received](const LogRecord& record) { received.add(record); });
  {
    const testing::ScopedFailingAllocations failures(1, GetParam());
    NORV_LOG(kLogError, kChannel) << long_text;
  }
  EXPECT_STREQ(received.text.data(), kNotice);
  NORV_LOG(kLogError, kChannel) << "next " << 8;
  EXPECT_STREQ(received.text.data(), "next 8");
  NORV_LOG(kLogError, kChannel) << long_text << 9;
  EXPECT_EQ(received.text.data(), long_text + "9");
}

/// Runs a statement in a process that is to stop, from its first allocation on without memory.
template <class Run>
void runWithoutMemory(const Run& run) {
  const ScopedKeptLines taken;
  const testing::ScopedFailingAllocations failures(0, Failing::kFromThenOn);
  run();
}

/// The line of a fatal statement that dropped its text.
std::string droppedLine(const char* channel, int line) {
  return std::string("FATAL ") + channel + " " + __FILE__ + ":" + std::to_string(line) + ": " +
         kNotice + "\n";
}

TEST(LoggingOutOfMemoryDeathTest, TerminatingStatementsStillStopTheProcess) {
  setLogLevel(nullptr, kLogWarning);
  const int line = __LINE__ + 1;
  const auto stream = [] { NORV_LOG(kLogFatal, kChannel) << long_text; };
  EXPECT_EXIT(runWithoutMemory(stream), ::testing::KilledBySignal(SIGABRT),
              ::testing::Eq(droppedLine(kChannel, line)));
  const auto format = [] { NORV_LOG_FORMAT(kLogFatal, kChannel, "%s", long_text.c_str()); };
  EXPECT_EXIT(runWithoutMemory(format), ::testing::KilledBySignal(SIGABRT),
              ::testing::Eq(droppedLine(kChannel, line + 3) + droppedLine("check", line + 3)));
  const auto check = [] { NORV_CHECK(long_text.empty()); };
  EXPECT_EXIT(runWithoutMemory(check), ::testing::KilledBySignal(SIGABRT),
              ::testing::Eq(droppedLine("check", line + 6)));
  const auto assertion = [] {
    handleAssertion(__FILE__, __LINE__, "function", "%s\n", long_text.c_str());
  };
  EXPECT_EXIT(runWithoutMemory(assertion), ::testing::KilledBySignal(SIGABRT),
              ::testing::Eq(droppedLine("check", line + 10)));
}

/// The first use of the logger in a process, which reads NORV_LOG.
class LoggingOutOfMemoryAtFirstUseDeathTest : public ::testing::Test {
 public:
  LoggingOutOfMemoryAtFirstUseDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
  ~LoggingOutOfMemoryAtFirstUseDeathTest() override { ::unsetenv("NORV_LOG"); }

  static constexpr const char* kNamed = "a_channel_whose_name_needs_memory";

  /// Asks with a failure at the first allocation, at the second, and so on until none fails.
  [[noreturn]] static void askUntilConfigured() {
    do {
      static int succeeding = 0;
      bool enabled = false;
      {
        const testing::ScopedFailingAllocations failures(succeeding++, Failing::kFromThenOn);
        enabled = isLoggerEnabled(kLogDebug, kNamed) && isLoggerEnabled(kLogDebug, "other");
      }
      std::fprintf(stderr, "%s", enabled ? "enabled" : "not yet, ");
    } while (hasAllocationFailed());
    std::exit(0);
  }

  [[noreturn]] static void reportMalformed() {
    const testing::ScopedFailingAllocations failures(0, Failing::kFromThenOn);
    const bool enabled = isLoggerEnabled(kLogInfo, "any");
    std::_Exit(enabled ? 1 : 0);
  }
};

TEST_F(LoggingOutOfMemoryAtFirstUseDeathTest, TheVariableIsReadAtALaterUse) {
  ::setenv("NORV_LOG", (std::string("debug,other=debug,") + kNamed + "=debug").c_str(), 1);
  EXPECT_EXIT(askUntilConfigured(), ::testing::ExitedWithCode(0),
              ::testing::MatchesRegex("(not yet, )+enabled"));
}

TEST_F(LoggingOutOfMemoryAtFirstUseDeathTest, MalformedVariable) {
  ::setenv("NORV_LOG", "louder_than_fits_into_a_string", 1);
  EXPECT_EXIT(reportMalformed(), ::testing::ExitedWithCode(0),
              ::testing::MatchesRegex(
                  "WARNING logging support/log/levels\\.cpp:[0-9]+: \\(out of memory\\)\n"));
}

}  // namespace
}  // namespace norv
