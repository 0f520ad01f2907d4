#include "tools/show/show_ptz.h"

#include <fmt/format.h>

#include <Eigen/Geometry>
#include <cmath>
#include <vector>

#include "calibration_common/ptz_camera_model.h"
#include "support/camera_projection.h"
#include "tools/input/ptz_loading.h"
#include "tools/output/json_output.h"
#include "tools/output/text_table.h"
#include "tools/show/show_head.h"

namespace norv::tools {
namespace {

using calibration::PTZCameraParameters;
using calibration::PTZIntrinsicsItem;
using calibration::PTZIntrinsicsTable;
using Cells = std::vector<std::string>;

constexpr double kDegreesPerRadian = 57.29577951308232;

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

std::string lensTable(const PTZIntrinsicsTable& table) {
  std::vector<Cells> rows = {
      {"zoom", "factor", "focal px", "view deg", "cx", "cy", "k1", "k4", "p1", "p2"}};
  const double widest = table.samples(0).focal_length();
  for (const PTZIntrinsicsItem& sample : table.samples()) {
    const FieldOfView view = fieldOfView(table, sample);
    rows.push_back({formatFixed(sample.zoom(), 0), formatFixed(sample.focal_length() / widest, 3),
                    formatFixed(sample.focal_length(), 1),
                    fmt::format("{} x {}", formatFixed(view.horizontal * kDegreesPerRadian, 2),
                                formatFixed(view.vertical * kDegreesPerRadian, 2)),
                    formatFixed(sample.cx(), 2), formatFixed(sample.cy(), 2),
                    formatFixed(sample.k1(), 5), formatFixed(sample.k4(), 5),
                    formatFixed(sample.p1(), 6), formatFixed(sample.p2(), 6)});
  }
  return alignTable(rows, 2);
}

/// What the library takes for granted of a lens table and this one does not keep.
std::vector<std::string> lensComplaints(const PTZIntrinsicsTable& table) {
  std::vector<std::string> complaints;
  if (table.samples_size() == 1) {
    complaints.emplace_back("a single sample gives a lens at no zoom position");
  }
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

std::string lensText(const PTZIntrinsicsTable& table) {
  std::string text =
      fmt::format("lens, image {}x{}, zoom position {} and every {} steps\n", table.image_width(),
                  table.image_height(), table.zoom_start(), table.zoom_interval()) +
      lensTable(table);
  if (table.samples_size() > 1) {
    text += fmt::format("  the lens is known before the last sample, zoom position {}, only\n",
                        formatFixed(table.samples(table.samples_size() - 1).zoom(), 0));
  }
  for (const std::string& complaint : lensComplaints(table)) text += "  note: " + complaint + "\n";
  return text;
}

json lensJson(const PTZIntrinsicsTable& table) {
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
  return {{"image_size", {table.image_width(), table.image_height()}},
          {"zoom_start", table.zoom_start()},
          {"zoom_interval", table.zoom_interval()},
          {"samples", samples},
          {"notes", lensComplaints(table)}};
}

}  // namespace

std::string showPtz(const CalibrationInput& input, const PTZCameraParameters& params,
                    const ShowOptions& options) {
  const calibration::PTZCameraModelPtr model = loadPtz(input, params);
  if (!options.json) {
    return fmt::format("{}: pan-tilt-zoom camera\n\n{}\n{}", input.name,
                       lensText(params.intrinsics()), headText(*model));
  }
  json document = {{"source", input.name}};
  document.update(lensJson(params.intrinsics()));
  document.update(headJson(*model));
  return printJson(document);
}

}  // namespace norv::tools
