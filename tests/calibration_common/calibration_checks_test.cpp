// The list of checks, and docs/checks.md, whose table is made of it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "calibration_common/calibration_review.h"
#include "support/file.h"

namespace norv::calibration {
namespace {

const char* nameOf(Severity severity) {
  switch (severity) {
    case Severity::kInfo:
      return "info";
    case Severity::kWarning:
      return "warning";
    case Severity::kError:
      return "error";
  }
  return "";
}

std::string rowOf(const CheckDescription& check) {
  std::string severities;
  for (const Severity severity : check.severities) {
    severities += (severities.empty() ? "" : ", ") + std::string(nameOf(severity));
  }
  return "| `" + check.id + "` | " + severities + " | " + check.found_when + " | " + check.reason +
         " |";
}

TEST(CalibrationChecksTest, HaveIdsOfTheirOwn) {
  std::set<std::string> ids;
  for (const CheckDescription& check : calibrationChecks()) {
    EXPECT_TRUE(ids.insert(check.id).second) << check.id;
    EXPECT_TRUE(std::all_of(check.id.begin(), check.id.end(), [](char c) {
      return (c >= 'a' && c <= 'z') || c == '-';
    })) << check.id;
  }
  EXPECT_EQ(ids.count("parse"), 1U);
}

TEST(CalibrationChecksTest, StateTheirSeveritiesTheWorstFirst) {
  for (const CheckDescription& check : calibrationChecks()) {
    ASSERT_FALSE(check.severities.empty()) << check.id;
    EXPECT_TRUE(std::is_sorted(check.severities.rbegin(), check.severities.rend())) << check.id;
  }
}

TEST(CalibrationChecksTest, AreDocumented) {
  std::string page;
  ASSERT_TRUE(File::readFileToString(CAMERA_PARAMETERS_SOURCE_DIR "/docs/checks.md", &page));
  std::vector<std::string> found;
  std::istringstream lines(page);
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind("| `", 0) == 0) found.push_back(line);
  }
  std::vector<std::string> expected;
  for (const CheckDescription& check : calibrationChecks()) expected.push_back(rowOf(check));
  EXPECT_THAT(found, ::testing::ElementsAreArray(expected));
}

}  // namespace
}  // namespace norv::calibration
