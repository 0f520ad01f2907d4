#include "tools/input/motor_positions.h"

#include <fmt/format.h>

#include <optional>

#include "tools/input/zoom_position.h"

namespace norv::tools {
namespace {

using calibration::PanTiltSystemParameters;
using calibration::PTZCameraModelConfiguration;
using calibration::PTZIntrinsicsTable;

std::optional<int> ifStated(bool stated, int steps) {
  return stated ? std::optional<int>(steps) : std::nullopt;
}

void explainPosition(const char* motor, int at, std::optional<int> lowest,
                     std::optional<int> highest, std::vector<std::string>* sentences) {
  const auto explain = [&](const char* side, int limit) {
    sentences->push_back(
        fmt::format("{} is said to be at {}, {} position, {}", motor, at, side, limit));
  };
  if (lowest && at < *lowest) {
    explain("below its lowest", *lowest);
  } else if (highest && at > *highest) {
    explain("above its highest", *highest);
  }
}

}  // namespace

std::vector<std::string> explainPositions(const PTZCameraModelConfiguration& configuration) {
  const PanTiltSystemParameters& head = configuration.getModel()->getParams().pan_tilt();
  std::vector<std::string> sentences;
  explainPosition("pan", configuration.getPan(), ifStated(head.has_min_pan(), head.min_pan()),
                  ifStated(head.has_max_pan(), head.max_pan()), &sentences);
  explainPosition("tilt", configuration.getTilt(), ifStated(head.has_min_tilt(), head.min_tilt()),
                  ifStated(head.has_max_tilt(), head.max_tilt()), &sentences);
  const PTZIntrinsicsTable& lens = configuration.getModel()->getParams().intrinsics();
  explainPosition("zoom", configuration.getZoom(), ifStated(lens.has_min_zoom(), lens.min_zoom()),
                  ifStated(lens.has_max_zoom(), lens.max_zoom()), &sentences);
  if (const auto sentence = explainExtrapolation(configuration)) sentences.push_back(*sentence);
  return sentences;
}

}  // namespace norv::tools
