#include "tools/review/finding_notes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace norv::tools {
namespace {

using calibration::Finding;
using calibration::Severity;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

Finding findingIn(const std::string& field, const std::string& text,
                  Severity severity = Severity::kError) {
  Finding finding = {severity, "check", field, "", 0, 0, std::nullopt, std::nullopt, text};
  return finding;
}

TEST(FindingNotesTest, CountWhatIsNotListedToo) {
  Findings findings = {findingIn("a", "x"), findingIn("b", "x", Severity::kWarning),
                       findingIn("c", "x", Severity::kWarning),
                       findingIn("d", "x", Severity::kInfo)};
  EXPECT_EQ(countText(countFindings(findings)), "1 error, 2 warnings");
  findings[2].unlisted = 40;
  findings[3].unlisted = 7;
  EXPECT_EQ(countLine(findings), "1 error, 42 warnings; camera-parameters validate says which\n");
  EXPECT_EQ(countJson(findings), (json{{"errors", 1}, {"warnings", 42}}));
  EXPECT_EQ(countLine({findings[3]}), "camera-parameters validate finds no error and no warning\n");
}

TEST(FindingNotesTest, TakeAPathAsAWholeName) {
  for (const char* field : {"pan_tilt", "pan_tilt.a", "pan_tilt[3]"}) {
    EXPECT_TRUE(isWithin(findingIn(field, ""), "pan_tilt")) << field;
  }
  for (const char* field : {"", "pan", "pan_tilts", "a.pan_tilt"}) {
    EXPECT_FALSE(isWithin(findingIn(field, ""), "pan_tilt")) << field;
  }
  EXPECT_TRUE(isWithin(findingIn("", ""), ""));
  EXPECT_TRUE(isWithin(findingIn("a", ""), ""));
}

TEST(FindingNotesTest, SayTheFieldOnce) {
  EXPECT_THAT(notesOn({findingIn("a.b.c", "c is 1"), findingIn("a.b", "too many"),
                       findingIn("a.cc", "c is 1"), findingIn("a", "a is bad")},
                      "a"),
              ElementsAre("b.c is 1", "b: too many", "cc: c is 1", "a is bad"));
  EXPECT_THAT(notesOn({findingIn("a[1].b", "b is 1")}, "a"), ElementsAre("[1].b is 1"));
  EXPECT_THAT(notesOn({findingIn("gain", "gain is 0"), findingIn("", "nothing")}, ""),
              ElementsAre("gain is 0", "nothing"));
}

TEST(FindingNotesTest, AreOfErrorsInOnePlace) {
  const Findings findings = {findingIn("a.b", "one"), findingIn("c", "two"),
                             findingIn("a.d", "three", Severity::kWarning)};
  EXPECT_THAT(errorNotes(findings, "a"), ElementsAre("b: one"));
  EXPECT_THAT(errorNotes(findings, "d"), IsEmpty());
}

TEST(FindingNotesTest, EndAfterTen) {
  Findings findings(10, findingIn("a", "x"));
  EXPECT_EQ(notesOn(findings, "a").size(), 10U);
  findings.resize(12, findingIn("a", "x"));
  EXPECT_EQ(notesOn(findings, "a").size(), 11U);
  EXPECT_EQ(notesOn(findings, "a").back(), "and 2 more");
}

TEST(FindingNotesTest, AreGroupedByCamera) {
  const auto groups =
      groupByEntry({findingIn("camera_calibration[1].name", "x"),
                    findingIn("camera_calibration[12].intrinsics.radial[1]", "y"),
                    findingIn("camera_calibration[1].model", "z"), findingIn("", "all")});
  EXPECT_EQ(groups.at("camera_calibration[1]").size(), 2U);
  EXPECT_EQ(groups.at("camera_calibration[1]")[1].text, "z");
  EXPECT_EQ(groups.at("camera_calibration[12]").size(), 1U);
  EXPECT_EQ(groups.count("camera_calibration[0]"), 0U);
}

}  // namespace
}  // namespace norv::tools
