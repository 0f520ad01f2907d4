#include "tools/show/show_ptz.h"

#include <fmt/format.h>

#include <Eigen/Geometry>
#include <cmath>
#include <vector>

#include "calibration_common/ptz_camera_model.h"
#include "support/camera_projection.h"
#include "support/printable_text.h"
#include "tools/angles.h"
#include "tools/input/ptz_loading.h"
#include "tools/output/json_output.h"
#include "tools/output/number_text.h"
#include "tools/output/text_table.h"
#include "tools/output/wrapping.h"
#include "tools/review/finding_notes.h"
#include "tools/show/notes.h"
#include "tools/show/show_head.h"

namespace norv::tools {
namespace {

using calibration::PTZCameraParameters;
using calibration::PTZIntrinsicsItem;
using calibration::PTZIntrinsicsTable;
using Cells = std::vector<std::string>;

constexpr const char* kLensField = "intrinsics";

/// Full angles of view across the middle of the image, radians; NaN where the lens does not reach
/// the edge.
struct FieldOfView {
  double horizontal;
  double vertical;
};

double angleBetween(const Vector2_f& a, const Vector2_f& b) {
  const Eigen::Vector3d u(static_cast<double>(a.x()), static_cast<double>(a.y()), 1);
  const Eigen::Vector3d v(static_cast<double>(b.x()), static_cast<double>(b.y()), 1);
  return std::atan2(u.cross(v).norm(), u.dot(v));
}

FieldOfView fieldOfView(const PTZIntrinsicsTable& table, const PTZIntrinsicsItem& sample) {
  const auto narrow = [](double value) { return static_cast<float>(value); };
  const float distortion[] = {narrow(sample.k1()),
                              0,
                              narrow(sample.p1()),
                              narrow(sample.p2()),
                              0,
                              narrow(sample.k4()),
                              0,
                              0};
  const float principal_point[] = {narrow(sample.cx()), narrow(sample.cy())};
  const float focal_lengths[] = {narrow(sample.focal_length()), narrow(sample.focal_length())};
  const auto ray = [&](float x, float y) {
    return calibration::rectifyPoint(distortion, principal_point, focal_lengths, {x, y});
  };
  const auto width = static_cast<float>(table.image_width());
  const auto height = static_cast<float>(table.image_height());
  return {angleBetween(ray(0, height / 2), ray(width, height / 2)),
          angleBetween(ray(width / 2, 0), ray(width / 2, height))};
}

std::string viewText(const FieldOfView& view) {
  return fmt::format("{} x {}", formatFixed(degrees(view.horizontal), 2),
                     formatFixed(degrees(view.vertical), 2));
}

/// What the lens shows at each sample.
std::string focalTable(const PTZIntrinsicsTable& table) {
  std::vector<Cells> rows = {{"zoom", "factor", "focal px", "view deg", "cx", "cy"}};
  const double widest = table.samples(0).focal_length();
  for (const PTZIntrinsicsItem& sample : table.samples()) {
    rows.push_back({nineDigits(sample.zoom()), formatFixed(sample.focal_length() / widest, 3),
                    nineDigits(sample.focal_length()), viewText(fieldOfView(table, sample)),
                    nineDigits(sample.cx()), nineDigits(sample.cy())});
  }
  return alignTable(rows, 2);
}

std::string distortionTable(const PTZIntrinsicsTable& table) {
  std::vector<Cells> rows = {{"zoom", "k1", "k4", "p1", "p2"}};
  for (const PTZIntrinsicsItem& sample : table.samples()) {
    rows.push_back({nineDigits(sample.zoom()), nineDigits(sample.k1()), nineDigits(sample.k4()),
                    nineDigits(sample.p1()), nineDigits(sample.p2())});
  }
  return alignTable(rows, 2);
}

/// The ends of the motor's range, as far as they are stated.
std::string rangeText(const PTZIntrinsicsTable& table) {
  if (!table.has_min_zoom() && !table.has_max_zoom()) return "";
  const std::string from = table.has_min_zoom() ? fmt::format(" from {}", table.min_zoom()) : "";
  const std::string to = table.has_max_zoom() ? fmt::format(" to {}", table.max_zoom()) : "";
  return fmt::format("  the zoom motor goes{}{}\n", from, to);
}

json rangeJson(const PTZIntrinsicsTable& table) {
  return {table.has_min_zoom() ? json(table.min_zoom()) : json(nullptr),
          table.has_max_zoom() ? json(table.max_zoom()) : json(nullptr)};
}

std::string lensText(const PTZIntrinsicsTable& table, const Findings& findings) {
  std::string text =
      fmt::format("lens, image {}x{}, zoom position {} and every {} steps\n", table.image_width(),
                  table.image_height(), table.zoom_start(), table.zoom_interval()) +
      focalTable(table) + "\n" + distortionTable(table) + rangeText(table);
  if (table.samples_size() > 1) {
    text += wrapText("  ",
                     fmt::format("the lens is known before the last sample, zoom position {}, only",
                                 nineDigits(table.samples(table.samples_size() - 1).zoom())),
                     2);
  }
  return text + notesText(errorNotes(findings, kLensField));
}

json lensJson(const PTZIntrinsicsTable& table, const Findings& findings) {
  json samples = json::array();
  for (const PTZIntrinsicsItem& sample : table.samples()) {
    const FieldOfView view = fieldOfView(table, sample);
    samples.push_back({{"zoom", sample.zoom()},
                       {"zoom_factor", sample.focal_length() / table.samples(0).focal_length()},
                       {"focal_length", sample.focal_length()},
                       {"principal_point", {sample.cx(), sample.cy()}},
                       {"k1", sample.k1()},
                       {"k4", sample.k4()},
                       {"p1", sample.p1()},
                       {"p2", sample.p2()},
                       {"view_degrees", {degrees(view.horizontal), degrees(view.vertical)}}});
  }
  return {{"image_size", {table.image_width(), table.image_height()}},
          {"zoom_start", table.zoom_start()},
          {"zoom_interval", table.zoom_interval()},
          {"zoom_range", rangeJson(table)},
          {"samples", samples},
          {"notes", errorNotes(findings, kLensField)}};
}

}  // namespace

std::string showPtz(const CalibrationInput& input, const PTZCameraParameters& params,
                    const ShowOptions& options) {
  const calibration::PTZCameraModelPtr model = loadPtz(input, params);
  const Findings findings = reviewCalibration(params);
  if (!options.json) {
    return fmt::format("{}: pan-tilt-zoom camera\n\n{}\n{}\n{}", toPrintable(input.name),
                       lensText(params.intrinsics(), findings), headText(*model, findings),
                       countLine(findings));
  }
  json document = {{"source", input.name}};
  document.update(countJson(findings));
  document.update(lensJson(params.intrinsics(), findings));
  document.update(headJson(*model, findings));
  return printJson(document);
}

}  // namespace norv::tools
