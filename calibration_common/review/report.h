#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "calibration_common/finding.h"

namespace norv::internal::review {

using calibration::Finding;
using calibration::Severity;

/// An image size in pixels; 0 x 0 for none.
struct ImageSize {
  int width = 0;
  int height = 0;
};

/// A finding without its sentence.
struct Issue {
  Severity severity;
  std::string field;
  std::optional<double> value = std::nullopt;
  std::optional<double> threshold = std::nullopt;
  ImageSize size = {};
};

/// Collects findings, of each check and severity as many as are listed, and counts the rest.
class Report {
 public:
  /// Findings from here on are those of the check `id`, which outlives the report.
  void begin(const char* id) { check_ = id; }

  /// Adds a finding. `sentence` returns its text; it is not called for one that is only counted.
  template <class Sentence>
  void add(Issue issue, const Sentence& sentence) {
    if (list(issue)) found_.back().text = sentence();
  }

  /// The findings, in the order in which they were added; the last listed one of each kind says how
  /// many more there were. The report is empty then.
  std::vector<Finding> take();

 private:
  /// Findings of one check and severity.
  struct Tally {
    int count = 0;
    std::size_t last = 0;  ///< index of the last one that is listed
  };

  /// Whether the issue became the last of `found_`, still without a text.
  bool list(Issue& issue);

  const char* check_ = "";
  std::vector<Finding> found_;
  std::map<std::pair<const char*, Severity>, Tally> tallies_;
};

}  // namespace norv::internal::review
