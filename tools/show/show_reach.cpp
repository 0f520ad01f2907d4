#include "tools/show/show_reach.h"

#include <fmt/format.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

#include "calibration_common/head_geometry.h"
#include "calibration_common/ptz_coverage.h"
#include "tools/angles.h"
#include "tools/output/text_table.h"
#include "tools/output/wrapping.h"

namespace norv::tools {
namespace {

using calibration::BlindCones;
using calibration::ElevationSpan;
using calibration::PTZCameraModel;
using calibration::PtzCoverage;
using Spans = std::vector<ElevationSpan>;

constexpr double kDistance = 5;  ///< metres
constexpr std::size_t kAzimuths = 36;
constexpr int kDegreesApart = 10;
/// The text shows every third.
constexpr std::size_t kShown = 3;

using Columns = std::array<Spans, kAzimuths>;

int azimuthOf(std::size_t i) { return static_cast<int>(i) * kDegreesApart - 180; }

/// The spans of each azimuth, from -180 degrees on.
Columns columnsOf(const PtzCoverage& coverage) {
  Columns columns;
  for (const ElevationSpan& span : coverage.spans) {
    const auto i = std::lround((degrees(span.azimuth) + 180) / kDegreesApart);
    columns.at(static_cast<std::size_t>(i)).push_back(span);
  }
  return columns;
}

std::string elevationText(const Spans& spans) {
  std::string text;
  for (const ElevationSpan& span : spans) {
    text +=
        fmt::format("{}{} to {}", text.empty() ? "" : ", ", formatFixed(degrees(span.lowest), 1),
                    formatFixed(degrees(span.highest), 1));
  }
  return text.empty() ? "none" : text;
}

/// A row for the azimuths from one to another that have the same elevations.
std::string spanTable(const Columns& columns) {
  std::vector<std::vector<std::string>> rows = {{"azimuth deg", "elevation deg"}};
  for (std::size_t i = 0; i < kAzimuths;) {
    const std::string elevations = elevationText(columns.at(i));
    const std::size_t first = i;
    do {
      i += kShown;
    } while (i < kAzimuths && elevationText(columns.at(i)) == elevations);
    const int from = azimuthOf(first);
    const int to = azimuthOf(i - kShown);
    rows.push_back(
        {from == to ? fmt::format("{}", from) : fmt::format("{} to {}", from, to), elevations});
  }
  return alignTable(rows, 2);
}

std::string blindText(const BlindCones& blind) {
  const std::string upper = formatFixed(degrees(blind.upper), 2);
  const std::string lower = formatFixed(degrees(blind.lower), 2);
  if (upper == "0.00" && lower == "0.00")
    return "  blind cone: none but by the limits of the motors\n";
  return wrapText("  ",
                  fmt::format("blind cone: whatever the motors do, the optical axis stays {} deg "
                              "away from the pan frame's z, and {} deg from the opposite direction",
                              upper, lower),
                  4);
}

}  // namespace

std::string reachText(const PTZCameraModel& model) {
  const PtzCoverage coverage =
      calibration::coverage(model, kDistance, calibration::PtzSight::kCentred, kAzimuths);
  std::string text = "reach (docs/pan_tilt_heads.md)\n";
  if (coverage.spans.empty()) return text + "  nothing can be centred, five metres away\n";
  const auto metres = [](double value) { return formatFixed(value, 3); };
  text += fmt::format("  what can be centred, {} m from ({}, {}, {}) m\n", kDistance,
                      metres(coverage.centre.x()), metres(coverage.centre.y()),
                      metres(coverage.centre.z()));
  return text + spanTable(columnsOf(coverage)) +
         blindText(calibration::blindCones(model.getParams().pan_tilt()));
}

json reachJson(const PTZCameraModel& model) {
  const PtzCoverage coverage =
      calibration::coverage(model, kDistance, calibration::PtzSight::kCentred, kAzimuths);
  const Columns columns = columnsOf(coverage);
  json directions = json::array();
  for (std::size_t i = 0; i < kAzimuths; ++i) {
    json elevations = json::array();
    for (const ElevationSpan& span : columns.at(i)) {
      elevations.push_back({degrees(span.lowest), degrees(span.highest)});
    }
    directions.push_back({{"azimuth_degrees", azimuthOf(i)}, {"elevations_degrees", elevations}});
  }
  const BlindCones blind = calibration::blindCones(model.getParams().pan_tilt());
  return {{"distance_metres", kDistance},
          {"centre", {coverage.centre.x(), coverage.centre.y(), coverage.centre.z()}},
          {"directions", directions},
          {"blind_cone_degrees", {degrees(blind.upper), degrees(blind.lower)}}};
}

}  // namespace norv::tools
