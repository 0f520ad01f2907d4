#include "tools/review/finding_notes.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace norv::tools {
namespace {

using calibration::Finding;
using calibration::Severity;

std::string counted(int count, const char* noun) {
  return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

/// The rest of a path that begins with `path`.
std::string remainder(const std::string& field, const std::string& path) {
  std::string rest = field.substr(path.size());
  if (!rest.empty() && rest[0] == '.') rest.erase(0, 1);
  return rest;
}

/// The sentence after the field that it is about, which many name themselves.
std::string noteOn(const std::string& field, const std::string& sentence) {
  if (field.empty()) return sentence;
  const std::size_t last = field.rfind('.') + 1;  // 0 where there is no dot
  const std::string subject = field.substr(last) + " ";
  if (sentence.rfind(subject, 0) == 0) return field.substr(0, last) + sentence;
  return field + ": " + sentence;
}

}  // namespace

FindingCounts countFindings(const Findings& findings) {
  FindingCounts counts;
  for (const Finding& finding : findings) {
    const int count = 1 + finding.unlisted;
    if (finding.severity == Severity::kError) counts.errors += count;
    if (finding.severity == Severity::kWarning) counts.warnings += count;
  }
  return counts;
}

std::string countText(const FindingCounts& counts) {
  return counted(counts.errors, "error") + ", " + counted(counts.warnings, "warning");
}

std::string countLine(const Findings& findings) {
  const FindingCounts counts = countFindings(findings);
  if (counts.errors == 0 && counts.warnings == 0) {
    return "camera-parameters validate finds no error and no warning\n";
  }
  return countText(counts) + "; camera-parameters validate says which\n";
}

json countJson(const Findings& findings) {
  const FindingCounts counts = countFindings(findings);
  return {{"errors", counts.errors}, {"warnings", counts.warnings}};
}

bool isWithin(const Finding& finding, const std::string& path) {
  if (path.empty()) return true;
  const std::string& field = finding.field;
  if (field.compare(0, path.size(), path) != 0) return false;
  return field.size() == path.size() || field[path.size()] == '.' || field[path.size()] == '[';
}

std::unordered_map<std::string, Findings> groupByEntry(const Findings& findings) {
  std::unordered_map<std::string, Findings> groups;
  for (const Finding& finding : findings) {
    groups[finding.field.substr(0, finding.field.find(']') + 1)].push_back(finding);
  }
  return groups;
}

std::vector<std::string> notesOn(const Findings& findings, const std::string& path) {
  std::vector<std::string> notes;
  const std::size_t shown = std::min<std::size_t>(findings.size(), kMaxNotes);
  for (std::size_t i = 0; i < shown; ++i) {
    notes.push_back(noteOn(remainder(findings[i].field, path), findings[i].text));
  }
  if (findings.size() > shown) {
    notes.push_back(fmt::format("and {} more", findings.size() - shown));
  }
  return notes;
}

std::vector<std::string> errorNotes(const Findings& findings, const std::string& path) {
  Findings errors;
  std::copy_if(findings.begin(), findings.end(), std::back_inserter(errors),
               [&](const Finding& finding) {
                 return finding.severity == Severity::kError && isWithin(finding, path);
               });
  return notesOn(errors, path);
}

}  // namespace norv::tools
