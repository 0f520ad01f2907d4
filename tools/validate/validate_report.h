#pragma once

#include <string>
#include <vector>

#include "calibration_common/calibration_review.h"
#include "tools/output/json_output.h"
#include "tools/review/file_review.h"

namespace norv::tools {

/// How many findings of each severity there are, those included that are not listed.
struct SeverityCounts {
  int errors = 0;
  int warnings = 0;
  int infos = 0;
};

SeverityCounts countSeverities(const std::vector<PlacedFinding>& findings);

/// A line for each finding of a file, and one that counts them: "robot.txt: 1 error, 2 warnings",
/// with infos where there are any.
std::string reviewText(const FileReview& review);

/// What is said of several files, one after the other.
class ReviewReport {
 public:
  explicit ReviewReport(bool as_json) : as_json_(as_json) {}

  void add(const FileReview& review);

  /// Whether any file has an error.
  bool hasErrors() const { return has_errors_; }

  /// The texts of all files, or one JSON document: a list of the files with their counts, and one
  /// of all findings.
  std::string print() const;

 private:
  bool as_json_;
  bool has_errors_ = false;
  std::string text_;
  json files_ = json::array();
  json findings_ = json::array();
};

/// A check for people to read, in lines of at most 80 columns, and for programs.
std::string checkText(const calibration::CheckDescription& check);
std::string checkJson(const calibration::CheckDescription& check);

}  // namespace norv::tools
