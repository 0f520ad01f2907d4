#include "support/checks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <string>

#include "testing/log_capture.h"

namespace norv {
namespace {

using ::testing::ElementsAre;
using testing::lines;
using testing::LogLine;
using testing::ScopedLogCapture;

/// Stands for a message with a repeated field.
struct Source {
  int a_size() const { return size; }
  int size;
};

bool readProto() { return false; }
bool readFile(const std::string& path, const int* result) {
  return path.empty() && result == nullptr;
}

TEST(Checks, PassingChecksSayNothing) {
  ScopedLogCapture capture;
  const Source src = {12};
  NORV_CHECK(!readProto());
  NORV_CHECK_AS("text", true);
  NORV_CHECK_GE(src.a_size(), 12);
  NORV_CHECK_GT(src.a_size(), 11);
  EXPECT_TRUE(capture.take().empty());
}

TEST(Checks, FailedCheckReportsItsExpression) {
  ScopedLogCapture capture;
  NORV_CHECK(readProto());
  const int line = __LINE__ - 1;
  const auto logs = capture.take();
  ASSERT_EQ(logs.size(), 1U);
  EXPECT_EQ(logs[0].level, 1);
  EXPECT_EQ(logs[0].channel, "check");
  EXPECT_EQ(logs[0].file, "tests/support/checks_test.cpp");
  EXPECT_EQ(logs[0].function, testing::withGccSpacing(__PRETTY_FUNCTION__));
  EXPECT_EQ(logs[0].line, line);
  EXPECT_EQ(logs[0].text, "Check failed readProto() ");
}

TEST(Checks, ExpressionsWithCommasAndQuotes) {
  ScopedLogCapture capture;
  int* null = nullptr;
  // clang-format off
  NORV_CHECK(readFile( std::string("calibration/") + "default.txt", null));
  // clang-format on
  NORV_CHECK_AS("other::Spelling(data)", readFile("x", null));
  EXPECT_THAT(lines(capture.take()),
              ElementsAre(LogLine{1, "check",
                                  "Check failed readFile( std::string(\"calibration/\") + "
                                  "\"default.txt\", null) "},
                          LogLine{1, "check", "Check failed other::Spelling(data) "}));
}

TEST(Checks, FailedComparisonReportsBothValues) {
  ScopedLogCapture capture;
  const Source src = {7};
  NORV_CHECK_GE(src.a_size(), 12);
  NORV_CHECK_GT(src.a_size(), 7);
  NORV_CHECK_GE(INT64_MIN, INT64_MAX);
  EXPECT_THAT(lines(capture.take()),
              ElementsAre(LogLine{1, "check", "Check failed: src.a_size() >= 12 (7 vs. 12) "},
                          LogLine{1, "check", "Check failed: src.a_size() > 7 (7 vs. 7) "},
                          LogLine{1, "check",
                                  "Check failed: INT64_MIN >= INT64_MAX (-9223372036854775808 vs. "
                                  "9223372036854775807) "}));
}

TEST(Checks, OperandsAreEvaluatedOnce) {
  ScopedLogCapture capture;
  int calls = 0;
  const auto next = [&] { return ++calls; };
  NORV_CHECK_GE(next(), 5);
  EXPECT_EQ(calls, 1);
  NORV_CHECK_GT(0, next());
  EXPECT_EQ(calls, 2);
  NORV_CHECK(next() < 0);
  EXPECT_EQ(calls, 3);
  NORV_CHECK(next() > 0);
  EXPECT_EQ(calls, 4);
  EXPECT_EQ(capture.take().size(), 3U);
}

TEST(Checks, DisabledChannelLetsExecutionGoOn) {
  ScopedLogCapture capture;
  setTerminatingLevel(kLogFatal);
  setLogLevel("check", 0);
  const Source src = {7};
  NORV_CHECK(readProto());
  NORV_CHECK_GE(src.a_size(), 12);
  EXPECT_TRUE(capture.take().empty());
}

TEST(Checks, UsableInBareIfAndElse) {
  ScopedLogCapture capture;
  const Source src = {7};
  for (const bool first : {true, false}) {
    if (first)
      NORV_CHECK(readProto());
    else
      NORV_CHECK(src.a_size() > 8);
    if (first)
      NORV_CHECK_GE(src.a_size(), 9);
    else
      NORV_CHECK_GE(src.a_size(), 10);
  }
  EXPECT_THAT(lines(capture.take()),
              ElementsAre(LogLine{1, "check", "Check failed readProto() "},
                          LogLine{1, "check", "Check failed: src.a_size() >= 9 (7 vs. 9) "},
                          LogLine{1, "check", "Check failed src.a_size() > 8 "},
                          LogLine{1, "check", "Check failed: src.a_size() >= 10 (7 vs. 10) "}));
}

TEST(ChecksDeathTest, FailedChecksStopTheProcess) {
  setLogLevel(nullptr, kLogWarning);  // whatever the environment says
  const std::string prefix = std::string("FATAL check ") + __FILE__ + ":";
  int line = __LINE__ + 1;
  EXPECT_EXIT(NORV_CHECK(readProto()), ::testing::KilledBySignal(SIGABRT),
              ::testing::Eq(prefix + std::to_string(line) + ": Check failed readProto() \n"));
  const Source src = {7};
  line = __LINE__ + 1;
  EXPECT_EXIT(NORV_CHECK_GE(src.a_size(), 12), ::testing::KilledBySignal(SIGABRT),
              ::testing::Eq(prefix + std::to_string(line) +
                            ": Check failed: src.a_size() >= 12 (7 vs. 12) \n"));
}

}  // namespace
}  // namespace norv
