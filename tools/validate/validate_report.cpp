#include "tools/validate/validate_report.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <optional>

#include "support/printable_text.h"
#include "tools/output/wrapping.h"

namespace norv::tools {
namespace {

using calibration::CheckDescription;
using calibration::Finding;
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

json textOrNull(const std::string& text) { return text.empty() ? json() : json(text); }

json numberOrNull(const std::optional<double>& number) { return number ? json(*number) : json(); }

json positiveOrNull(int number) { return number > 0 ? json(number) : json(); }

json findingJson(const std::string& file, const PlacedFinding& placed) {
  const Finding& finding = placed.finding;
  const bool has_size = finding.width != 0 || finding.height != 0;
  return {{"severity", severityName(finding.severity)},
          {"check", finding.check},
          {"file", file},
          {"line", positiveOrNull(placed.place.line)},
          {"column", positiveOrNull(placed.place.column)},
          {"field", textOrNull(finding.field)},
          {"camera", textOrNull(finding.camera)},
          {"size", has_size ? json::array({finding.width, finding.height}) : json()},
          {"value", numberOrNull(finding.value)},
          {"threshold", numberOrNull(finding.threshold)},
          {"text", finding.text}};
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
    switch (placed.finding.severity) {
      case Severity::kError:
        ++counts.errors;
        break;
      case Severity::kWarning:
        ++counts.warnings;
        break;
      case Severity::kInfo:
        ++counts.infos;
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
