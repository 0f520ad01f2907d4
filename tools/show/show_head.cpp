#include "tools/show/show_head.h"

#include <fmt/format.h>
#include <google/protobuf/text_format.h>

#include <cmath>
#include <vector>

#include "tools/output/text_table.h"
#include "tools/show/head_geometry.h"

namespace norv::tools {
namespace {

using calibration::PanTiltModel;
using calibration::PanTiltSystemParameters;
using calibration::PTZCameraModel;
using calibration::PTZCameraParameters;
using Cells = std::vector<std::string>;

constexpr double kDegreesPerRadian = 57.29577951308232;

std::string degreesText(double radians) {
  return formatFixed(radians * kDegreesPerRadian, 2) + " deg";
}

void addPose(const char* name, const CameraTransform& pose, std::vector<Cells>* rows) {
  for (int r = 0; r < 3; ++r) {
    Cells row = {r == 0 ? name : ""};
    for (int c = 0; c < 3; ++c) {
      row.push_back(formatFixed(static_cast<double>(pose.transform(r, c)), 6));
    }
    row.push_back(formatFixed(static_cast<double>(pose.transform(r, 3)), 4) + " m");
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

std::string positionText(bool stated, int steps, float offset, float scale) {
  if (!stated) return "none";
  const double angle = (steps - static_cast<double>(offset)) * static_cast<double>(scale);
  return fmt::format("{} ({})", steps, degreesText(angle));
}

std::string motorTable(const PanTiltModel& head, const PanTiltSystemParameters& p) {
  const float pan = head.getPanScale();
  const float tilt = head.getTiltScale();
  const float pan0 = head.getPanOffset();
  const float tilt0 = head.getTiltOffset();
  return alignTable({{"motor", "step", "zero", "lowest", "highest", "home"},
                     {"pan", fmt::format("{:g} rad", pan), fmt::format("{}", pan0),
                      positionText(p.has_min_pan(), p.min_pan(), pan0, pan),
                      positionText(p.has_max_pan(), p.max_pan(), pan0, pan),
                      positionText(p.has_home_pan(), p.home_pan(), pan0, pan)},
                     {"tilt", fmt::format("{:g} rad", tilt), fmt::format("{}", tilt0),
                      positionText(p.has_min_tilt(), p.min_tilt(), tilt0, tilt),
                      positionText(p.has_max_tilt(), p.max_tilt(), tilt0, tilt),
                      positionText(p.has_home_tilt(), p.home_tilt(), tilt0, tilt)}},
                    2);
}

bool turns(const PanTiltSystemParameters& head) {
  return head.pan_scale() != 0 && head.tilt_scale() != 0;
}

/// What the pointing computation cannot do with a head; empty for one that it serves.
std::vector<std::string> findShortcomings(const PanTiltSystemParameters& head,
                                          const HeadGeometry& geometry) {
  std::vector<std::string> found;
  if (!turns(head)) {
    found.emplace_back("nothing can be pointed at, since a motor's step is 0 rad");
  }
  if (!hasServedAzimuth(geometry)) {
    found.emplace_back(
        "the azimuth is neither 0 nor 180 deg: targets are missed, some 2 % of them at 1 deg and "
        "all at "
        "45 deg");
  }
  if (!hasServedElevation(geometry)) {
    found.emplace_back(
        "the elevation is not within 0 to 30 deg: part of the targets in an ordinary range is "
        "missed");
  }
  if (!hasServedTiltAxis(geometry)) {
    found.emplace_back(
        "the tilt axis is not where it is taken to be: part of the targets is missed");
  }
  if (!servesPanAxis(geometry)) {
    found.emplace_back(
        "a target exactly on the pan axis is missed, since the optical axis passes that by more "
        "than "
        "3.16 mm");
  }
  return found;
}

/// The turn of the tilt frame with which a head is better written; 0 where its zero of tilt can
/// stay.
double turnOfZero(const PanTiltSystemParameters& head, const HeadGeometry& geometry) {
  if (hasServedElevation(geometry) || !turns(head)) return 0;
  const double turn = levellingTurn(head);
  return std::isfinite(turn) ? turn : 0;
}

/// The head in a frame that suits the pointing computation, as a block of a calibration in text
/// format; empty for one that is in such a frame, or that has none.
std::string betterBlock(const PanTiltSystemParameters& head, const HeadGeometry& geometry) {
  const double turn = turnOfZero(head, geometry);
  if (hasServedAzimuth(geometry) && turn == 0) return "";
  PTZCameraParameters block;
  *block.mutable_pan_tilt() = reframeHead(head, turn);
  block.DiscardUnknownFields();
  if (!hasServedAzimuth(describeHead(block.pan_tilt()))) return "";
  google::protobuf::TextFormat::Printer printer;
  printer.SetUseShortRepeatedPrimitives(true);
  std::string text;
  return printer.PrintToString(block, &text) ? text : "";
}

std::string pointingText(const PanTiltSystemParameters& head) {
  const HeadGeometry geometry = describeHead(head);
  std::string text = fmt::format(
      "pointing (docs/pan_tilt_heads.md)\n"
      "  optical axis at zero tilt, in the pan frame: azimuth {}, elevation {}, {} mm from the pan "
      "axis\n"
      "  tilt axis: {} from square to both of them\n"
      "  tilt angles from -90 to 90 deg are found\n",
      degreesText(geometry.azimuth), degreesText(geometry.elevation),
      formatFixed(geometry.axis_gap * 1000, 2), degreesText(geometry.tilt_axis_error));
  const std::vector<std::string> shortcomings = findShortcomings(head, geometry);
  if (shortcomings.empty()) text += "  this head is served, targets on the pan axis included\n";
  for (const std::string& shortcoming : shortcomings) text += "  note: " + shortcoming + "\n";
  const std::string block = betterBlock(head, geometry);
  if (block.empty()) return text;
  const double turn = turnOfZero(head, geometry);
  return text +
         fmt::format("\nthe same head in a frame that pointing serves, every pose as it was{}:\n\n",
                     turn == 0 ? "" : fmt::format(" (zero tilt moved by {})", degreesText(turn))) +
         block;
}

}  // namespace

std::string headText(const PTZCameraModel& model) {
  const PanTiltSystemParameters& params = model.getParams().pan_tilt();
  const PanTiltModel& head = model.getPanTiltModel();
  return "head\n" + chainTable(head) + "\n" + motorTable(head, params) + "\n" +
         pointingText(params);
}

json headJson(const PTZCameraModel& model) {
  const PanTiltSystemParameters& params = model.getParams().pan_tilt();
  const PanTiltModel& head = model.getPanTiltModel();
  const HeadGeometry geometry = describeHead(params);
  const std::string block = betterBlock(params, geometry);
  const auto stated = [](bool present, int steps) { return present ? json(steps) : json(nullptr); };
  return {{"base_to_pan", rowsOf(head.getBaseToPan().transform)},
          {"pan_to_tilt", rowsOf(head.getPanToTilt().transform)},
          {"tilt_to_camera", rowsOf(head.getTiltToCamera().transform)},
          {"radians_per_step", {head.getPanScale(), head.getTiltScale()}},
          {"offsets", {head.getPanOffset(), head.getTiltOffset()}},
          {"pan_range",
           {stated(params.has_min_pan(), params.min_pan()),
            stated(params.has_max_pan(), params.max_pan())}},
          {"tilt_range",
           {stated(params.has_min_tilt(), params.min_tilt()),
            stated(params.has_max_tilt(), params.max_tilt())}},
          {"home",
           {stated(params.has_home_pan(), params.home_pan()),
            stated(params.has_home_tilt(), params.home_tilt())}},
          {"optical_axis_azimuth_degrees", geometry.azimuth * kDegreesPerRadian},
          {"optical_axis_elevation_degrees", geometry.elevation * kDegreesPerRadian},
          {"optical_axis_from_pan_axis_metres", geometry.axis_gap},
          {"tilt_axis_error_degrees", geometry.tilt_axis_error * kDegreesPerRadian},
          {"pointing_notes", findShortcomings(params, geometry)},
          {"better_pan_tilt", block.empty() ? json(nullptr) : json(block)}};
}

}  // namespace norv::tools
