#include "support/log/level_names.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <utility>

namespace norv {
namespace {

using internal::LogLevelNameBuffer;
using internal::parseLogLevelSpec;
using ::testing::ElementsAre;
using ::testing::Pair;

std::string logLevelName(int level) {
  LogLevelNameBuffer buffer;
  return std::string(internal::logLevelName(level, &buffer));
}

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
  EXPECT_EQ(logLevelName(INT_MIN), "LEVEL-2147483648");
}

}  // namespace
}  // namespace norv
