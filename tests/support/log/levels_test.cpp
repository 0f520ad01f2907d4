#include "support/log/levels.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <utility>

#include "support/logging.h"

namespace norv {
namespace {

using internal::logLevelName;
using internal::parseLogLevelSpec;
using ::testing::ElementsAre;
using ::testing::Pair;

TEST(LogLevelSpec, OneLevelForEveryChannel) {
  const std::pair<const char*, int> levels[] = {{"off", 0},     {"fatal", 1}, {"error", 2},
                                                {"warning", 3}, {"info", 5},  {"debug", 6}};
  for (const auto& [name, level] : levels) {
    const auto spec = parseLogLevelSpec(name);
    ASSERT_TRUE(spec) << name;
    EXPECT_EQ(spec->every_channel, level);
    EXPECT_TRUE(spec->channels.empty());
  }
}

TEST(LogLevelSpec, ChannelsOneByOne) {
  const auto spec = parseLogLevelSpec("camera_parameters=debug,check=fatal");
  ASSERT_TRUE(spec);
  EXPECT_FALSE(spec->every_channel);
  EXPECT_THAT(spec->channels, ElementsAre(Pair("camera_parameters", 6), Pair("check", 1)));
}

TEST(LogLevelSpec, LevelsAndChannelsInAnyOrder) {
  const auto spec = parseLogLevelSpec("a=debug,info,b=off,error");
  ASSERT_TRUE(spec);
  EXPECT_EQ(spec->every_channel, 2);
  EXPECT_THAT(spec->channels, ElementsAre(Pair("a", 6), Pair("b", 0)));
}

TEST(LogLevelSpec, Malformed) {
  for (const char* text : {"", ",", "loud", "info,", ",info", "info,,debug", "a=", "=info",
                           "a=loud", "a=b=info", " info", "INFO", "3", "a=info;b=info"}) {
    EXPECT_FALSE(parseLogLevelSpec(text)) << text;
  }
}

TEST(LogLevelSpec, Names) {
  EXPECT_EQ(logLevelName(1), "FATAL");
  EXPECT_EQ(logLevelName(2), "ERROR");
  EXPECT_EQ(logLevelName(3), "WARNING");
  EXPECT_EQ(logLevelName(4), "LEVEL4");
  EXPECT_EQ(logLevelName(5), "INFO");
  EXPECT_EQ(logLevelName(6), "DEBUG");
  EXPECT_EQ(logLevelName(0), "LEVEL0");
}

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
