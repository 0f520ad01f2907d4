#include "interop/format_problem.h"

#include <gtest/gtest.h>

#include <string>
#include <variant>

#include "interop/peer_reading.h"

namespace norv::interop {
namespace {

std::string described(Place place, const std::string& text) {
  return describe(problemOf(FormatError(place, "key", "is wrong"), "f", text));
}

TEST(ProblemOf, HasTheFileAndThePlace) {
  EXPECT_EQ(described({2, 3}, "abc\ndef\n"), "f:2:3: key: is wrong");
  EXPECT_EQ(described({2, 0}, "abc\ndef\n"), "f:2: key: is wrong");
  EXPECT_EQ(described({}, "abc\ndef\n"), "f: key: is wrong");
}

TEST(ProblemOf, MovesAPlaceBeyondTheTextToItsEnd) {
  // Behind the last character is the end of a line, and of the text.
  EXPECT_EQ(described({1, 4}, "abc\ndef"), "f:1:4: key: is wrong");
  EXPECT_EQ(described({1, 5}, "abc\ndef"), "f:1:4: key: is wrong");
  EXPECT_EQ(described({2, 9}, "abc\ndef"), "f:2:4: key: is wrong");
  EXPECT_EQ(described({3, 1}, "abc\ndef"), "f:2:4: key: is wrong");
  EXPECT_EQ(described({9, 9}, "abc\ndef\n"), "f:3:1: key: is wrong");
  EXPECT_EQ(described({1, 2}, ""), "f:1:1: key: is wrong");
}

/// yaml-cpp counts the eight digits that it looks for behind the end.
TEST(ReadCameras, RefusesWithAPlaceInsideOfTheText) {
  const std::string text = "{\"value\":\"\\U";
  const PeerReading reading = readCameras({"f", text}, PeerFormat::kBasalt, {});
  const auto* problem = std::get_if<FormatProblem>(&reading);
  ASSERT_NE(problem, nullptr);
  EXPECT_EQ(describe(*problem), "f:1:13: no YAML: bad character found while scanning hex number");
}

}  // namespace
}  // namespace norv::interop
