#include "tools/show/show_cameras.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <optional>
#include <vector>

#include "calibration_common/camera_parameters.h"
#include "support/printable_text.h"
#include "tools/input/camera_choice.h"
#include "tools/input/camera_loading.h"
#include "tools/output/json_output.h"
#include "tools/output/number_text.h"
#include "tools/output/pose_text.h"
#include "tools/output/text_table.h"
#include "tools/review/finding_notes.h"
#include "tools/show/metadata.h"
#include "tools/show/notes.h"

namespace norv::tools {
namespace {

using calibration::CameraCalibration;
using calibration::CameraCalibrationAdjustmentProto;
using calibration::CameraParameters;
using calibration::RobotCalibration;
using Cells = std::vector<std::string>;

/// A camera at one image size.
struct View {
  ImageSize size;
  Matrix3x3_f camera_matrix;
  std::vector<float> distortion;
  bool scaled;  ///< from the full frame, since the camera does not deliver this size
};

View viewAt(const CameraParameters& camera, ImageSize size) {
  bool in_table = false;
  for (const auto& entry : camera.getIntrinsicsTable()) {
    in_table = in_table || (entry.width == size.width && entry.height == size.height);
  }
  return {size, camera.getIntrinsics(size.width, size.height),
          camera.getDistortion(size.width, size.height), !in_table};
}

std::vector<View> viewsOf(const CameraParameters& camera, const std::optional<ImageSize>& only) {
  if (only) return {viewAt(camera, *only)};
  std::vector<View> views;
  for (const auto& entry : camera.getIntrinsicsTable()) {
    views.push_back(viewAt(camera, {entry.width, entry.height}));
  }
  return views;
}

/// A column an image size, so that any number of digits fits a terminal.
std::string viewTable(const std::vector<View>& views) {
  std::vector<Cells> rows = {{"size"}};
  for (const char* name :
       {"fx", "fy", "skew", "cx", "cy", "k1", "k2", "p1", "p2", "k3", "k4", "k5", "k6", ""}) {
    rows.push_back({name});
  }
  for (const View& view : views) {
    const Matrix3x3_f& k = view.camera_matrix;
    std::vector<float> values = {k(0, 0), k(1, 1), k(0, 1), k(0, 2), k(1, 2)};
    values.insert(values.end(), view.distortion.begin(), view.distortion.end());
    values.resize(rows.size() - 2, std::nanf(""));
    rows.front().push_back(fmt::format("{}x{}", view.size.width, view.size.height));
    for (std::size_t i = 0; i < values.size(); ++i) rows[i + 1].push_back(shortestText(values[i]));
    rows.back().emplace_back(view.scaled ? "(scaled)" : "");
  }
  const bool any_scaled =
      std::any_of(views.begin(), views.end(), [](const View& view) { return view.scaled; });
  if (!any_scaled) rows.pop_back();
  return alignTable(rows, 2);
}

/// How well the intrinsics that were fitted meet the samples; empty where none were.
std::string refitText(const CameraParameters& camera) {
  if (!camera.getRefit()) return "";
  return fmt::format("  fit to {} samples: error {} px per point\n",
                     camera.getRefit()->residuals.size(),
                     fmt::format("{:.2g}", camera.getRefit()->error_per_point));
}

/// By which bases the camera was moved, a line each; empty where by none.
std::string adjustmentText(const CameraCalibration& camera) {
  std::string text;
  for (const CameraCalibrationAdjustmentProto& adjustment : camera.adjusted_by()) {
    const auto& metadata = adjustment.metadata();
    text += "  moved by a base's global transform of " +
            (metadata.has_calibration_time() ? dateText(metadata.calibration_time())
                                             : std::string("no stated time")) +
            "\n";
  }
  return text;
}

json adjustmentJson(const CameraCalibration& camera) {
  json list = json::array();
  for (const CameraCalibrationAdjustmentProto& adjustment : camera.adjusted_by()) {
    const auto& values = adjustment.global_transform().a();
    list.push_back({{"global_transform", std::vector<double>(values.begin(), values.end())},
                    {"metadata", metadataJson(adjustment.has_metadata(), adjustment.metadata())}});
  }
  return list;
}

std::string cameraText(const CameraParameters& camera, const std::vector<View>& views,
                       const std::vector<std::string>& notes) {
  const auto& full = camera.getFullFrame();
  return fmt::format("\n{}   model \"{}\", full frame {}x{}\n  centre on the robot {} m\n",
                     toPrintable(camera.getCalibration().name()), toPrintable(camera.getModel()),
                     full.width, full.height, vectorText(camera.getTransform().getCameraCenter())) +
         "  camera from robot\n" + poseTable(camera.getTransform().transform) +
         adjustmentText(camera.getCalibration()) + refitText(camera) + viewTable(views) +
         notesText(notes);
}

json cameraJson(const CameraParameters& camera, const std::vector<View>& views,
                const std::vector<std::string>& notes) {
  json result = {
      {"name", camera.getCalibration().name()},
      {"model", camera.getModel()},
      {"full_frame_size", {camera.getFullFrame().width, camera.getFullFrame().height}},
      {"camera_from_robot", rowsOf(camera.getTransform().transform)},
      {"center_on_robot", listOf(camera.getTransform().getCameraCenter())},
      {"adjusted_by", adjustmentJson(camera.getCalibration())},
      {"refit_error_per_point_pixels",
       camera.getRefit() ? json(camera.getRefit()->error_per_point) : json(nullptr)},
      {"notes", notes},
      {"intrinsics", json::array()},
  };
  for (const View& view : views) {
    result["intrinsics"].push_back({{"width", view.size.width},
                                    {"height", view.size.height},
                                    {"camera_matrix", rowsOf(view.camera_matrix)},
                                    {"distortion", listOf(view.distortion)},
                                    {"scaled_from_full_frame", view.scaled}});
  }
  return result;
}

/// What is to be said of the file itself.
std::vector<std::string> inputNotes(const CalibrationInput& input) {
  if (!input.data.empty()) return {};
  return {"the file is empty, which reads as a calibration without cameras"};
}

}  // namespace

std::string showCameras(const CalibrationInput& input, const RobotCalibration& robot,
                        const ShowOptions& options) {
  const std::vector<std::string> notes = inputNotes(input);
  const Findings findings = reviewCalibration(robot);
  auto of_entry = groupByEntry(findings);
  std::string text =
      fmt::format("{}: {} camera{}\n", toPrintable(input.name), robot.camera_calibration_size(),
                  robot.camera_calibration_size() == 1 ? "" : "s") +
      notesText(notes);
  json cameras = json::array();
  for (int i = 0; i < robot.camera_calibration_size(); ++i) {
    const CameraCalibration& calibration = robot.camera_calibration(i);
    if (options.camera && calibration.name() != *options.camera) continue;
    const auto camera = loadCamera(input, i, calibration);
    const std::vector<View> views = viewsOf(*camera, options.size);
    const std::string path = fmt::format("camera_calibration[{}]", i);
    const auto camera_notes = errorNotes(of_entry[path], path);
    text += cameraText(*camera, views, camera_notes);
    cameras.push_back(cameraJson(*camera, views, camera_notes));
  }
  if (options.camera && cameras.empty()) refuseCamera(input, robot, *options.camera);
  if (!options.json) return text + "\n" + countLine(findings);
  json document = {{"source", input.name}};
  document.update(countJson(findings));
  document.update({{"notes", notes}, {"cameras", cameras}});
  return printJson(document);
}

}  // namespace norv::tools
