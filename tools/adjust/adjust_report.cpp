#include "tools/adjust/adjust_report.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <vector>

#include "support/printable_text.h"
#include "tools/input/calibration_kind.h"
#include "tools/output/json_output.h"
#include "tools/review/finding_json.h"
#include "tools/review/repeated_names.h"

namespace norv::tools {
namespace {

using calibration::Finding;
using calibration::Severity;

const char* formatText(const AdjustOutcome& outcome) { return outcome.as_text ? "text" : "binary"; }

std::ptrdiff_t countMovedBefore(const calibration::RobotCalibration& robot) {
  const auto& cameras = robot.camera_calibration();
  return std::count_if(cameras.begin(), cameras.end(),
                       [](const auto& camera) { return camera.adjusted_by_size() > 0; });
}

/// What the user may not expect of a calibration that was written, one sentence each.
std::vector<std::string> notesAbout(const Adjustment& adjustment, const AdjustOutcome& outcome) {
  std::vector<std::string> notes;
  if (movesNothing(adjustment)) {
    notes.emplace_back("the global transform is the identity, so that all poses are as they were");
  }
  const auto moved = countMovedBefore(adjustment.robot);
  if (moved > 0) {
    notes.push_back(
        fmt::format("{} camera{} had been moved by a base before; this move comes on top", moved,
                    moved == 1 ? "" : "s"));
  }
  for (const std::string& name : findRepeatedNames(adjustment.adjusted)) {
    notes.push_back(
        fmt::format("\"{}\" is listed more than once; all entries are of the last one's camera, "
                    "which was moved once for each",
                    toPrintable(name)));
  }
  const int unknown = outcome.as_text ? countUnknownFields(adjustment.adjusted) : 0;
  if (unknown > 0) {
    notes.push_back(
        fmt::format("fields that this version does not know were left out: {}", unknown));
  }
  return notes;
}

/// Of a base's other values only errors matter here.
bool concernsTransform(const Finding& finding) {
  if (finding.severity != Severity::kWarning) return finding.severity == Severity::kError;
  return finding.field.rfind("global_transform_adjustment", 0) == 0;
}

json cameraJson(const CameraMove& camera) {
  return {{"name", camera.name},
          {"center_on_robot_before", listOf(camera.center_before)},
          {"center_on_robot", listOf(camera.center_after)},
          {"moved_before", camera.moved_before}};
}

}  // namespace

std::string writtenText(const Adjustment& adjustment, const AdjustOutcome& outcome) {
  const std::size_t count = adjustment.cameras.size();
  std::string text =
      fmt::format("{}: {} camera{} moved by the global transform of {}, written in {} format\n",
                  toPrintable(outcome.output), count, count == 1 ? "" : "s",
                  toPrintable(adjustment.base_input.name), formatText(outcome));
  if (outcome.backup) {
    text += fmt::format("{}: has what the file was before\n", toPrintable(*outcome.backup));
  }
  for (const std::string& note : notesAbout(adjustment, outcome)) text += "note: " + note + "\n";
  return text;
}

std::string findingLines(const Adjustment& adjustment) {
  std::string lines;
  for (const PlacedFinding& placed : adjustment.base_findings) {
    if (!concernsTransform(placed.finding)) continue;
    lines += findingLine(adjustment.base_input.name, placed);
  }
  for (const PlacedFinding& placed : adjustment.findings) {
    if (placed.finding.severity != Severity::kError) continue;
    lines += findingLine(adjustment.input.name, placed);
  }
  for (const PlacedFinding& placed : adjustment.new_findings) {
    if (placed.finding.severity != Severity::kWarning) continue;
    lines += findingLine(adjustment.input.name, placed);
  }
  return lines;
}

std::string adjustJson(const Adjustment& adjustment, const AdjustOutcome& outcome) {
  json cameras = json::array();
  for (const CameraMove& camera : adjustment.cameras) cameras.push_back(cameraJson(camera));
  json findings = json::array();
  for (const PlacedFinding& placed : adjustment.base_findings) {
    findings.push_back(findingJson(adjustment.base_input.name, placed));
  }
  for (const PlacedFinding& placed : adjustment.findings) {
    findings.push_back(findingJson(adjustment.input.name, placed));
  }
  const bool written = outcome.objection.empty();
  return printJson({{"source", adjustment.input.name},
                    {"base", adjustment.base_input.name},
                    {"output", outcome.output},
                    {"format", formatText(outcome)},
                    {"written", written},
                    {"objection", written ? json(nullptr) : json(outcome.objection)},
                    {"backup", outcome.backup ? json(*outcome.backup) : json(nullptr)},
                    {"cameras", cameras},
                    {"findings", findings},
                    {"notes", written ? json(notesAbout(adjustment, outcome)) : json::array()}});
}

}  // namespace norv::tools
