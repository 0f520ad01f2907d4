#include "tools/show/show_head.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <optional>
#include <vector>

#include "calibration_common/head_geometry.h"
#include "tools/angles.h"
#include "tools/output/number_text.h"
#include "tools/output/text_table.h"
#include "tools/output/wrapping.h"
#include "tools/review/head_block.h"
#include "tools/show/notes.h"
#include "tools/show/show_reach.h"

namespace norv::tools {
namespace {

using calibration::ElevationRange;
using calibration::Finding;
using calibration::HeadGeometry;
using calibration::PanTiltModel;
using calibration::PanTiltSystemParameters;
using calibration::PTZCameraModel;
using calibration::ReframedHead;
using calibration::Severity;
using Cells = std::vector<std::string>;

constexpr const char* kHeadField = "pan_tilt";

std::string degreesText(double radians) { return formatFixed(degrees(radians), 2) + " deg"; }

void addPose(const char* name, const CameraTransform& pose, std::vector<Cells>* rows) {
  for (int r = 0; r < 3; ++r) {
    Cells row = {r == 0 ? name : ""};
    for (int c = 0; c < 4; ++c) row.push_back(shortestText(pose.transform(r, c)));
    row.back() += " m";
    rows->push_back(row);
  }
}

std::string chainTable(const PanTiltModel& head) {
  std::vector<Cells> rows;
  addPose("base to pan", head.getBaseToPan(), &rows);
  addPose("pan to tilt", head.getPanToTilt(), &rows);
  addPose("tilt to camera", head.getTiltToCamera(), &rows);
  return alignTable(rows, 2);
}

/// What a calibration states of one motor.
struct Motor {
  const char* name;
  float offset;
  float scale;
  std::optional<int> lowest;
  std::optional<int> highest;
  std::optional<int> home;
};

std::optional<int> ifStated(bool stated, int steps) {
  return stated ? std::optional<int>(steps) : std::nullopt;
}

Motor panMotor(const PanTiltSystemParameters& p) {
  return {"pan",
          p.pan_offset(),
          p.pan_scale(),
          ifStated(p.has_min_pan(), p.min_pan()),
          ifStated(p.has_max_pan(), p.max_pan()),
          ifStated(p.has_home_pan(), p.home_pan())};
}

Motor tiltMotor(const PanTiltSystemParameters& p) {
  return {"tilt",
          p.tilt_offset(),
          p.tilt_scale(),
          ifStated(p.has_min_tilt(), p.min_tilt()),
          ifStated(p.has_max_tilt(), p.max_tilt()),
          ifStated(p.has_home_tilt(), p.home_tilt())};
}

std::string positionText(const Motor& motor, const std::optional<int>& steps) {
  if (!steps) return "none";
  const double angle =
      (*steps - static_cast<double>(motor.offset)) * static_cast<double>(motor.scale);
  return fmt::format("{} ({})", *steps, degreesText(angle));
}

/// A column a motor.
std::string motorTable(const PanTiltSystemParameters& head) {
  std::vector<Cells> rows = {{"motor"}, {"step"}, {"zero"}, {"lowest"}, {"highest"}, {"home"}};
  for (const Motor& motor : {panMotor(head), tiltMotor(head)}) {
    rows[0].emplace_back(motor.name);
    rows[1].push_back(shortestText(motor.scale) + " rad");
    rows[2].push_back(shortestText(motor.offset));
    rows[3].push_back(positionText(motor, motor.lowest));
    rows[4].push_back(positionText(motor, motor.highest));
    rows[5].push_back(positionText(motor, motor.home));
  }
  return alignTable(rows, 2);
}

/// Whether the finding keeps pointing from serving the head: an error in it, a motor that stands
/// still, or axes that the computation does not suppose.
bool isAgainstPointing(const Finding& finding) {
  if (!isWithin(finding, kHeadField)) return false;
  return finding.severity == Severity::kError || finding.check == "scale" ||
         finding.check.rfind("head-", 0) == 0;
}

/// All that keeps pointing from serving a head; empty for one that it serves.
std::vector<std::string> pointingNotes(const Findings& findings) {
  Findings against;
  std::copy_if(findings.begin(), findings.end(), std::back_inserter(against), isAgainstPointing);
  return notesOn(against, kHeadField);
}

/// Whether no error is in a pose of the head.
bool posesAreSound(const Findings& findings) {
  return std::none_of(findings.begin(), findings.end(), [](const Finding& finding) {
    return finding.severity == Severity::kError && (isWithin(finding, "pan_tilt.base_to_pan") ||
                                                    isWithin(finding, "pan_tilt.pan_to_tilt") ||
                                                    isWithin(finding, "pan_tilt.tilt_to_camera"));
  });
}

std::string axisText(const HeadGeometry& geometry) {
  std::string text = fmt::format(
      "  optical axis at zero tilt, in the pan frame: azimuth {},\n"
      "    elevation {}, {} mm from the pan axis\n",
      degreesText(geometry.azimuth), degreesText(geometry.elevation),
      formatFixed(geometry.axis_gap * 1000, 2));
  if (std::isnan(geometry.tilt_axis_error)) {
    return text + "  tilt axis: not known, since the optical axis runs along the pan axis\n";
  }
  text += fmt::format("  tilt axis: {} from square to the pan axis and the optical axis\n",
                      degreesText(geometry.tilt_axis_error));
  if (!azimuthIsSupported(geometry) || !tiltAxisIsSupported(geometry)) return text;
  const ElevationRange found = findableElevations(geometry);
  return text + fmt::format("  targets from {} to {} deg of elevation are found\n",
                            formatFixed(degrees(found.lowest), 1),
                            formatFixed(degrees(found.highest), 1));
}

std::string blockText(const ReframedHead& better) {
  std::string moved;
  if (better.turn_of_zero != 0) {
    moved = fmt::format(" (zero tilt moved by {})", degreesText(better.turn_of_zero));
  }
  return "\n" +
         wrapText(
             "",
             "the same head in a frame that pointing serves, every pose as it was" + moved + ":",
             0) +
         "\n" + headBlock(better.head);
}

/// Measured; NaN where the poses are no rotations.
HeadGeometry measureHead(const PanTiltSystemParameters& head, const Findings& findings) {
  if (posesAreSound(findings)) return describeHead(head);
  const double unknown = std::nan("");
  return {unknown, unknown, unknown, unknown};
}

std::string pointingText(const PanTiltSystemParameters& head, const Findings& findings) {
  const HeadGeometry geometry = measureHead(head, findings);
  const std::vector<std::string> notes = pointingNotes(findings);
  std::string text = "pointing (docs/pan_tilt_heads.md)\n";
  if (std::isfinite(geometry.azimuth)) text += axisText(geometry);
  if (notes.empty()) text += "  this head is served, targets on the pan axis included\n";
  text += notesText(notes);
  const std::optional<ReframedHead> better = findBetterFrame(head);
  return better ? text + blockText(*better) : text;
}

json stepsJson(const std::optional<int>& steps) { return steps ? json(*steps) : json(nullptr); }

}  // namespace

std::string headText(const PTZCameraModel& model, const Findings& findings) {
  const PanTiltSystemParameters& params = model.getParams().pan_tilt();
  const std::string reach = posesAreSound(findings) ? reachText(model) + "\n" : "";
  return "head\n" + chainTable(model.getPanTiltModel()) + "\n" + motorTable(params) + "\n" + reach +
         pointingText(params, findings);
}

json headJson(const PTZCameraModel& model, const Findings& findings) {
  const PanTiltSystemParameters& params = model.getParams().pan_tilt();
  const PanTiltModel& head = model.getPanTiltModel();
  const HeadGeometry geometry = measureHead(params, findings);
  const std::optional<ReframedHead> better = findBetterFrame(params);
  const Motor pan = panMotor(params);
  const Motor tilt = tiltMotor(params);
  return {{"base_to_pan", rowsOf(head.getBaseToPan().transform)},
          {"pan_to_tilt", rowsOf(head.getPanToTilt().transform)},
          {"tilt_to_camera", rowsOf(head.getTiltToCamera().transform)},
          {"radians_per_step", {numberOf(pan.scale), numberOf(tilt.scale)}},
          {"offsets", {numberOf(pan.offset), numberOf(tilt.offset)}},
          {"pan_range", {stepsJson(pan.lowest), stepsJson(pan.highest)}},
          {"tilt_range", {stepsJson(tilt.lowest), stepsJson(tilt.highest)}},
          {"home", {stepsJson(pan.home), stepsJson(tilt.home)}},
          {"reach", posesAreSound(findings) ? reachJson(model) : json(nullptr)},
          {"optical_axis_azimuth_degrees", degrees(geometry.azimuth)},
          {"optical_axis_elevation_degrees", degrees(geometry.elevation)},
          {"optical_axis_from_pan_axis_metres", geometry.axis_gap},
          {"tilt_axis_error_degrees", degrees(geometry.tilt_axis_error)},
          {"pointing_notes", pointingNotes(findings)},
          {"better_pan_tilt", better ? json(headBlock(better->head)) : json(nullptr)}};
}

}  // namespace norv::tools
