#include <fmt/format.h>

#include "tools/aim/motor_text.h"
#include "tools/aim/search_report.h"
#include "tools/aim/search_words.h"
#include "tools/aim/sight.h"
#include "tools/output/number_text.h"
#include "tools/output/text_table.h"
#include "tools/output/wrapping.h"

namespace norv::tools {
namespace {

using calibration::AimPosition;
using calibration::MotorBound;
using calibration::PTZCameraModel;

std::string pixelText(const Eigen::Vector2d& pixel) { return formatPixel(pixel.x(), pixel.y()); }

bool asksForZoom(const SearchOptions& options) {
  return options.fill || options.fov || options.focal || options.box;
}

/// What ends of ranges hold the motors.
std::string boundText(const PTZCameraModel& model, const AimPosition& position) {
  std::string text;
  const auto add = [&](const char* motor, MotorBound bound, int at) {
    const char* const word = boundWord(bound);
    if (word == nullptr) return;
    text += fmt::format("{} is held at its {} position, {}\n", motor, word, at);
  };
  add("pan", position.pan_bound, position.motors.pan);
  add("tilt", position.tilt_bound, position.motors.tilt);
  if (text.empty()) text = rangeText(model.getParams().pan_tilt());
  add("zoom", position.zoom_bound, position.motors.zoom);
  return text;
}

/// Where a motor whose range the calibration does not state may go.
std::string zoomText(const PTZCameraModel& model, const SearchOptions& options) {
  if (!asksForZoom(options)) return "";
  const calibration::ZoomRange range = zoomRange(model);
  const calibration::PTZIntrinsicsTable& table = model.getParams().intrinsics();
  const bool is_stated = table.has_min_zoom() && table.has_max_zoom() &&
                         table.min_zoom() == range.lowest && table.max_zoom() == range.highest;
  return fmt::format("the zoom is chosen from {} to {}, {}\n", range.lowest, range.highest,
                     is_stated ? "its range" : "where there is a lens");
}

/// What lands where it is said to. `is_whole` is false where only a part of it is seen.
std::string targetName(const SearchOptions& options, bool is_whole) {
  const char* const seen = "the middle of what is seen";
  if (options.box) {
    return fmt::format("{}, taken {} m away,", is_whole ? "the middle of the box" : seen,
                       nineDigits(*options.distance));
  }
  if (options.distance) {
    return fmt::format("what the pixel shows, taken {} m away,", nineDigits(*options.distance));
  }
  if (!is_whole) return seen;
  if (options.points.size() > 1) return "the middle of the points";
  return options.radius ? "the middle of the sphere" : "the target";
}

std::string spanText(const calibration::PTZIntrinsicsTable& table, const AimPosition& position) {
  const char* const rest = !position.is_whole   ? "the rest of it is not seen"
                           : position.is_inside ? "all of it inside"
                                                : "not all of it inside";
  return fmt::format("it spans {} to {} of the {}x{} picture,\n  {}\n", pixelText(position.low),
                     pixelText(position.high), table.image_width(), table.image_height(), rest);
}

std::string landingText(const PTZCameraModel& model, const SearchOptions& options,
                        const AimPosition& position) {
  const bool is_point = position.low == position.high;
  const calibration::PTZIntrinsicsTable& table = model.getParams().intrinsics();
  const bool is_inside = position.is_inside || isInPicture(position.lands.cast<float>(), table);
  std::string text = fmt::format("{} lands at {},\n  {} px from {}{}\n",
                                 targetName(options, position.is_whole), pixelText(position.lands),
                                 formatFixed(position.miss, 2), pixelText(position.wanted),
                                 is_point && !is_inside ? ", outside of the picture" : "");
  return is_point ? text : text + spanText(table, position);
}

std::string positionText(const PTZCameraModel& model, const SearchOptions& options,
                         const AimPosition& position) {
  const calibration::MotorPositions& m = position.motors;
  return motorText(model, {m.pan, m.tilt, m.zoom}) + boundText(model, position) +
         zoomText(model, options) + landingText(model, options, position) +
         fmt::format("the way there: pan {:+}, tilt {:+}, zoom {:+} steps\n", position.pan_travel,
                     position.tilt_travel, position.zoom_travel) +
         (position.is_upright ? "" : "the picture is upside down\n");
}

}  // namespace

std::string searchText(const PTZCameraModel& model, const SearchOptions& options,
                       const SearchAnswer& answer) {
  std::string text;
  const std::size_t count = options.all ? answer.aim.size() : answer.aim.empty() ? 0 : 1;
  for (std::size_t i = 0; i < count; ++i) {
    if (options.all) {
      text += fmt::format("{}position {} of {}\n", i == 0 ? "" : "\n", i + 1, answer.aim.size());
    }
    text += positionText(model, options, answer.aim[i]);
  }
  const bool has_more = !answer.obstacles.empty() || !answer.remarks.empty();
  if (options.all && count > 0 && has_more) text += "\n";
  for (const Obstacle& obstacle : answer.obstacles) {
    text += wrapText("not reached: ", obstacle.sentence, 2);
  }
  for (const std::string& remark : answer.remarks) text += wrapText("note: ", remark, 2);
  return text;
}

}  // namespace norv::tools
