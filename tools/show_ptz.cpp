#include "tools/show_ptz.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "calibration_common/ptz_camera_model.h"
#include "support/camera_projection.h"
#include "tools/json_output.h"
#include "tools/ptz_loading.h"
#include "tools/text_table.h"

namespace norv::tools {
namespace {

using calibration::PanTiltModel;
using calibration::PanTiltSystemParameters;
using calibration::PTZCameraModel;
using calibration::PTZCameraParameters;
using calibration::PTZIntrinsicsItem;
using calibration::PTZIntrinsicsTable;
using Cells = std::vector<std::string>;

constexpr double kPi = 3.14159265358979323846;
constexpr double kDegreesPerRadian = 57.29577951308232;
/// Heads whose optical axis is within this of the pan frame's x-z plane are served exactly enough.
constexpr double kLargestAzimuth = 1e-3;
/// A target on the pan axis is judged by the square of this distance, metres.
constexpr double kLargestAxisGap = 3.2e-3;

/// Full angles of view across the middle of the image, radians; NaN where the lens does not reach
/// the edge.
struct FieldOfView {
  double horizontal;
  double vertical;
};

double angleBetween(const Vector2_f& a, const Vector2_f& b) {
  const Eigen::Vector3d u(static_cast<double>(a.x()), static_cast<double>(a.y()), 1);
  const Eigen::Vector3d v(static_cast<double>(b.x()), static_cast<double>(b.y()), 1);
  return std::acos(std::min(1.0, u.dot(v) / (u.norm() * v.norm())));
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

std::string lensTable(const PTZIntrinsicsTable& table) {
  std::vector<Cells> rows = {
      {"zoom", "factor", "focal px", "view deg", "", "cx", "cy", "k1", "k4", "p1", "p2"}};
  const double widest = table.samples(0).focal_length();
  for (const PTZIntrinsicsItem& sample : table.samples()) {
    const FieldOfView view = fieldOfView(table, sample);
    rows.push_back(
        {formatFixed(sample.zoom(), 0), formatFixed(sample.focal_length() / widest, 3),
         formatFixed(sample.focal_length(), 1), formatFixed(view.horizontal * kDegreesPerRadian, 2),
         "x " + formatFixed(view.vertical * kDegreesPerRadian, 2), formatFixed(sample.cx(), 2),
         formatFixed(sample.cy(), 2), formatFixed(sample.k1(), 5), formatFixed(sample.k4(), 5),
         formatFixed(sample.p1(), 6), formatFixed(sample.p2(), 6)});
  }
  return alignTable(rows, 2);
}

/// What the library takes for granted of a lens table and this one does not keep.
std::vector<std::string> lensComplaints(const PTZIntrinsicsTable& table) {
  std::vector<std::string> complaints;
  for (int i = 1; i < table.samples_size(); ++i) {
    const PTZIntrinsicsItem& a = table.samples(i - 1);
    const PTZIntrinsicsItem& b = table.samples(i);
    if (!(b.zoom() > a.zoom()) || !(b.focal_length() > a.focal_length())) {
      complaints.push_back(
          fmt::format("samples {} and {} do not increase in zoom and focal length", i - 1, i));
    }
  }
  for (int i = 0; i < table.samples_size(); ++i) {
    const double expected = table.zoom_start() + static_cast<double>(i) * table.zoom_interval();
    if (table.samples(i).zoom() != expected) {
      complaints.push_back(
          fmt::format("sample {} is at zoom {}, where zoom_start and zoom_interval say {}", i,
                      table.samples(i).zoom(), expected));
    }
  }
  return complaints;
}

std::string poseText(const char* name, const CameraTransform& pose) {
  std::vector<Cells> rows;
  for (int r = 0; r < 3; ++r) {
    rows.push_back({r == 0 ? name : ""});
    for (int c = 0; c < 3; ++c) {
      rows.back().push_back(formatFixed(static_cast<double>(pose.transform(r, c)), 6));
    }
    rows.back().push_back(formatFixed(static_cast<double>(pose.transform(r, 3)), 4) + " m");
  }
  return alignTable(rows, 2);
}

std::string limitText(bool stated, int steps, float offset, float scale) {
  if (!stated) return "none";
  const double angle = (steps - static_cast<double>(offset)) * static_cast<double>(scale);
  return fmt::format("{} ({} deg)", steps, formatFixed(angle * kDegreesPerRadian, 2));
}

std::string motorTable(const PanTiltModel& head, const PanTiltSystemParameters& params) {
  const auto row = [](const char* name, float scale, float offset, bool has_min, int min,
                      bool has_max, int max) {
    return Cells{name, fmt::format("{:g} rad", scale), fmt::format("{:g}", offset),
                 limitText(has_min, min, offset, scale), limitText(has_max, max, offset, scale)};
  };
  return alignTable({{"motor", "step", "offset", "lowest", "highest"},
                     row("pan", head.getPanScale(), head.getPanOffset(), params.has_min_pan(),
                         params.min_pan(), params.has_max_pan(), params.max_pan()),
                     row("tilt", head.getTiltScale(), head.getTiltOffset(), params.has_min_tilt(),
                         params.min_tilt(), params.has_max_tilt(), params.max_tilt())},
                    2);
}

/// Distance of an azimuth from the nearer of 0 and 180 degrees, radians.
double azimuthError(double azimuth) { return std::abs(std::remainder(azimuth, kPi)); }

bool servesOffAxis(const HeadGeometry& head) {
  return azimuthError(head.azimuth) <= kLargestAzimuth;
}
bool servesOnAxis(const HeadGeometry& head) { return head.axis_gap <= kLargestAxisGap; }

std::string pointingText(const HeadGeometry& head) {
  std::string text = fmt::format(
      "\n  optical axis at zero tilt: azimuth {} deg, elevation {} deg in the pan frame, {} mm "
      "from the pan "
      "axis\n",
      formatFixed(head.azimuth * kDegreesPerRadian, 2),
      formatFixed(head.elevation * kDegreesPerRadian, 2), formatFixed(head.axis_gap * 1000, 2));
  text += servesOffAxis(head) ? "  pointing serves this head: its azimuth is 0 or 180 deg\n"
                              : "  pointing does not serve this head as it is written: its azimuth "
                                "should be 0 or 180 deg "
                                "(docs/pan_tilt_heads.md)\n";
  text += servesOnAxis(head) ? "  targets on the pan axis can be reached\n"
                             : "  a target exactly on the pan axis cannot be reached\n";
  return text;
}

std::string ptzText(const PTZCameraModel& model) {
  const PTZCameraParameters& params = model.getParams();
  const PanTiltModel& head = model.getPanTiltModel();
  const PTZIntrinsicsTable& table = params.intrinsics();
  std::string text =
      fmt::format("\nlens, image {}x{}, zoom position {} and every {} steps\n", table.image_width(),
                  table.image_height(), table.zoom_start(), table.zoom_interval());
  text += lensTable(table);
  for (const std::string& complaint : lensComplaints(table)) text += "  note: " + complaint + "\n";
  text += "\nhead\n" + poseText("base to pan", head.getBaseToPan()) +
          poseText("pan to tilt", head.getPanToTilt()) +
          poseText("tilt to camera", head.getTiltToCamera()) + "\n" +
          motorTable(head, params.pan_tilt());
  return text + pointingText(describeHead(head));
}

json ptzJson(const CalibrationInput& input, const PTZCameraModel& model) {
  const PTZIntrinsicsTable& table = model.getParams().intrinsics();
  const PanTiltSystemParameters& params = model.getParams().pan_tilt();
  const PanTiltModel& head = model.getPanTiltModel();
  const HeadGeometry geometry = describeHead(head);
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
                       {"view_degrees",
                        {view.horizontal * kDegreesPerRadian, view.vertical * kDegreesPerRadian}}});
  }
  const auto limit = [](bool stated, int steps) { return stated ? json(steps) : json(nullptr); };
  return {{"source", input.name},
          {"image_size", {table.image_width(), table.image_height()}},
          {"zoom_start", table.zoom_start()},
          {"zoom_interval", table.zoom_interval()},
          {"samples", samples},
          {"notes", lensComplaints(table)},
          {"base_to_pan", rowsOf(head.getBaseToPan().transform)},
          {"pan_to_tilt", rowsOf(head.getPanToTilt().transform)},
          {"tilt_to_camera", rowsOf(head.getTiltToCamera().transform)},
          {"radians_per_step", {head.getPanScale(), head.getTiltScale()}},
          {"offsets", {head.getPanOffset(), head.getTiltOffset()}},
          {"pan_range",
           {limit(params.has_min_pan(), params.min_pan()),
            limit(params.has_max_pan(), params.max_pan())}},
          {"tilt_range",
           {limit(params.has_min_tilt(), params.min_tilt()),
            limit(params.has_max_tilt(), params.max_tilt())}},
          {"optical_axis_azimuth_degrees", geometry.azimuth * kDegreesPerRadian},
          {"optical_axis_elevation_degrees", geometry.elevation * kDegreesPerRadian},
          {"optical_axis_from_pan_axis_metres", geometry.axis_gap},
          {"pointing_serves_head", servesOffAxis(geometry)},
          {"pointing_serves_pan_axis", servesOnAxis(geometry)}};
}

}  // namespace

std::string showPtz(const CalibrationInput& input, const PTZCameraParameters& params,
                    const ShowOptions& options) {
  const calibration::PTZCameraModelPtr model = loadPtz(input, params);
  if (options.json) return printJson(ptzJson(input, *model));
  return fmt::format("{}: pan-tilt-zoom camera\n", input.name) + ptzText(*model);
}

}  // namespace norv::tools
