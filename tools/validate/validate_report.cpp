#include "tools/validate/validate_report.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "support/printable_text.h"
#include "tools/output/wrapping.h"
#include "tools/review/finding_json.h"

namespace norv::tools {
namespace {

using calibration::CheckDescription;
using calibration::Severity;

std::string counted(int count, const char* what) {
  return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

std::string countsLine(const FileReview& review) {
  const SeverityCounts counts = countSeverities(review.findings);
  const std::string infos = counts.infos > 0 ? ", " + counted(counts.infos, "info") : "";
  return fmt::format("{}: {}, {}{}\n", toPrintable(review.file), counted(counts.errors, "error"),
                     counted(counts.warnings, "warning"), infos);
}

json fileJson(const FileReview& review) {
  const SeverityCounts counts = countSeverities(review.findings);
  json kind;
  json format;
  if (review.parsed) {
    kind = kindName(review.parsed->kind);
    format = formatName(review.parsed->format);
  }
  return {{"file", review.file},
          {"kind", kind},
          {"format", format},
          {"errors", counts.errors},
          {"warnings", counts.warnings},
          {"infos", counts.infos}};
}

std::vector<std::string> severityNames(const CheckDescription& check) {
  std::vector<std::string> names;
  for (const Severity severity : check.severities) names.emplace_back(severityName(severity));
  return names;
}

}  // namespace

SeverityCounts countSeverities(const std::vector<PlacedFinding>& findings) {
  SeverityCounts counts;
  for (const PlacedFinding& placed : findings) {
    const int count = 1 + placed.finding.unlisted;
    switch (placed.finding.severity) {
      case Severity::kError:
        counts.errors += count;
        break;
      case Severity::kWarning:
        counts.warnings += count;
        break;
      case Severity::kInfo:
        counts.infos += count;
        break;
    }
  }
  return counts;
}

std::string reviewText(const FileReview& review) {
  std::string text;
  for (const PlacedFinding& placed : review.findings) text += findingLine(review.file, placed);
  return text + countsLine(review);
}

void ReviewReport::add(const FileReview& review) {
  has_errors_ = has_errors_ || countSeverities(review.findings).errors > 0;
  if (!as_json_) {
    text_ += reviewText(review);
    return;
  }
  files_.push_back(fileJson(review));
  for (const PlacedFinding& placed : review.findings) {
    findings_.push_back(findingJson(review.file, placed));
  }
}

std::string ReviewReport::print() const {
  return as_json_ ? printJson({{"files", files_}, {"findings", findings_}}) : text_;
}

std::string checkText(const CheckDescription& check) {
  return wrapText(check.id + ": ", fmt::format("{}", fmt::join(severityNames(check), ", ")), 2) +
         wrapText("  found when: ", check.found_when, 4) + wrapText("  reason: ", check.reason, 4);
}

std::string checkJson(const CheckDescription& check) {
  return printJson({{"check", check.id},
                    {"severities", severityNames(check)},
                    {"found_when", check.found_when},
                    {"reason", check.reason}});
}

}  // namespace norv::tools
