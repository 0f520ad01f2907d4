#include "support/log/levels.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "support/logging.h"

namespace norv {
namespace {

/// The variable is read at a process's first use of the logger, so each case runs in a process of
/// its own, which prints the outcome and exits.
class LogEnvironmentDeathTest : public ::testing::Test {
 public:
  LogEnvironmentDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
  ~LogEnvironmentDeathTest() override { ::unsetenv("NORV_LOG"); }

  static std::string enabled(const char* channel) {
    std::string levels;
    for (int level = 1; level <= 6; ++level) {
      if (isLoggerEnabled(level, channel)) levels += std::to_string(level);
    }
    return levels;
  }

  [[noreturn]] static void reportLevels() {
    const std::string a = enabled("a");
    const std::string b = enabled("b");
    std::fprintf(stderr, "a:%s b:%s\n", a.c_str(), b.c_str());
    std::exit(0);
  }

  [[noreturn]] static void reportLevelsAfterSettingOne() {
    setLogLevel("a", kLogError);
    reportLevels();
  }

  [[noreturn]] static void reportThroughLoggingSink() {
    setLogSink([](const LogRecord& record) {
      std::fprintf(stderr, "%d %s %s\n", record.level, record.channel, record.text.c_str());
      setLogLevel("a", kLogDebug);
    });
    reportLevels();
  }
};

void set(const char* value) { ::setenv("NORV_LOG", value, 1); }

TEST_F(LogEnvironmentDeathTest, UnsetMeansWarnings) {
  ::unsetenv("NORV_LOG");
  EXPECT_EXIT(reportLevels(), ::testing::ExitedWithCode(0), ::testing::Eq("a:123 b:123\n"));
}

TEST_F(LogEnvironmentDeathTest, EmptyMeansWarnings) {
  set("");
  EXPECT_EXIT(reportLevels(), ::testing::ExitedWithCode(0), ::testing::Eq("a:123 b:123\n"));
}

TEST_F(LogEnvironmentDeathTest, OneLevel) {
  set("info");
  EXPECT_EXIT(reportLevels(), ::testing::ExitedWithCode(0), ::testing::Eq("a:12345 b:12345\n"));
}

TEST_F(LogEnvironmentDeathTest, OneChannel) {
  set("a=debug,check=fatal");
  EXPECT_EXIT(reportLevels(), ::testing::ExitedWithCode(0), ::testing::Eq("a:123456 b:123\n"));
}

TEST_F(LogEnvironmentDeathTest, ChannelBesideALevelForTheRest) {
  set("a=debug,error");
  EXPECT_EXIT(reportLevels(), ::testing::ExitedWithCode(0), ::testing::Eq("a:123456 b:12\n"));
}

TEST_F(LogEnvironmentDeathTest, ProgramsOwnSettingsComeLater) {
  set("debug");
  EXPECT_EXIT(reportLevelsAfterSettingOne(), ::testing::ExitedWithCode(0),
              ::testing::Eq("a:12 b:123456\n"));
}

TEST_F(LogEnvironmentDeathTest, MalformedValueIsReportedOnceAndIgnored) {
  set("a=debug,loud");
  EXPECT_EXIT(reportLevels(), ::testing::ExitedWithCode(0),
              ::testing::MatchesRegex("WARNING logging support/log/levels\\.cpp:[0-9]+: "
                                      "Ignoring malformed NORV_LOG=a=debug,loud\n"
                                      "a:123 b:123\n"));
}

TEST_F(LogEnvironmentDeathTest, MalformedValueIsReportedToASinkThatSetsLevels) {
  set("loud");
  EXPECT_EXIT(reportThroughLoggingSink(), ::testing::ExitedWithCode(0),
              ::testing::Eq("3 logging Ignoring malformed NORV_LOG=loud\na:123456 b:123\n"));
}

}  // namespace
}  // namespace norv
