// What a log statement records, and which statements are enabled.

#include "support/logging.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <Eigen/Core>
#include <climits>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <iomanip>
#include <locale>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>

#include "testing/log_capture.h"
#include "testing/temporary_folder.h"
#include "tests/support/logging_fixture.h"

namespace norv {
namespace {

using ::testing::ElementsAre;
using testing::lines;
using testing::LoggingTest;
using testing::LogLine;
using testing::ScopedLogCapture;
using testing::withGccSpacing;
using ::testing::internal::CaptureStderr;
using ::testing::internal::GetCapturedStderr;

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

TEST_F(LoggingTest, ChannelsAreComparedByTheirText) {
  const std::string name = "some_channel";
  setLogLevel(std::string(name).c_str(), kLogDebug);
  EXPECT_TRUE(isLoggerEnabled(kLogDebug, std::string(name).c_str()));
  EXPECT_FALSE(isLoggerEnabled(kLogDebug, "some_channe"));
  EXPECT_FALSE(isLoggerEnabled(kLogDebug, "some_channel_"));
  EXPECT_FALSE(isLoggerEnabled(kLogDebug, ""));
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

}  // namespace
}  // namespace norv
