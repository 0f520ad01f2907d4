#include "calibration_common/review/report.h"

#include <gtest/gtest.h>

namespace norv::internal::review {
namespace {

TEST(ReportTest, KeepsFindingsInTheOrderInWhichTheyCame) {
  Report report;
  report.begin("first");
  report.add({Severity::kError, "a", 1.5, 2.5, {640, 480}}, [] { return "one"; });
  report.begin("second");
  report.add({Severity::kInfo, "b"}, [] { return "two"; });
  const std::vector<Finding> found = report.take();
  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(found[0].severity, Severity::kError);
  EXPECT_EQ(found[0].check, "first");
  EXPECT_EQ(found[0].field, "a");
  EXPECT_EQ(found[0].value, 1.5);
  EXPECT_EQ(found[0].threshold, 2.5);
  EXPECT_EQ(found[0].width, 640);
  EXPECT_EQ(found[0].height, 480);
  EXPECT_EQ(found[0].text, "one");
  EXPECT_EQ(found[1].check, "second");
  EXPECT_FALSE(found[1].value.has_value());
  EXPECT_TRUE(report.take().empty());
}

TEST(ReportTest, CountsWhatItDoesNotListByCheckAndSeverity) {
  Report report;
  int sentences = 0;
  const auto sentence = [&] {
    ++sentences;
    return "text";
  };
  report.begin("check");
  for (int i = 0; i < calibration::kMaxFindingsPerCheck + 3; ++i) {
    report.add({Severity::kWarning, std::to_string(i)}, sentence);
  }
  // An error is listed however many warnings there are.
  report.add({Severity::kError, "error"}, sentence);
  report.begin("other");
  report.add({Severity::kWarning, "other"}, sentence);
  const std::vector<Finding> found = report.take();
  ASSERT_EQ(found.size(), calibration::kMaxFindingsPerCheck + 2U);
  EXPECT_EQ(sentences, calibration::kMaxFindingsPerCheck + 2);
  EXPECT_EQ(found[998].text, "text");
  EXPECT_EQ(found[999].field, "999");
  EXPECT_EQ(found[999].text, "text; 3 more are not listed");
  for (std::size_t i = 0; i < found.size(); ++i) EXPECT_EQ(found[i].unlisted, i == 999 ? 3 : 0);
  EXPECT_EQ(found[1000].text, "text");
  EXPECT_EQ(found[1001].text, "text");
}

}  // namespace
}  // namespace norv::internal::review
