#include "tools/aim/motor_text.h"
#include "tools/aim/search_report.h"
#include "tools/aim/search_words.h"

namespace norv::tools {
namespace {

using calibration::AimPosition;
using calibration::MotorBound;
using calibration::PanTiltModel;
using calibration::PTZCameraModel;

/// Keys of a position, in their order.
constexpr const char* kPositionKeys[] = {"pan",
                                         "tilt",
                                         "zoom",
                                         "pan_degrees",
                                         "tilt_degrees",
                                         "zoom_factor",
                                         "limited",
                                         "pan_bound",
                                         "tilt_bound",
                                         "zoom_bound",
                                         "lands_at",
                                         "wanted_at",
                                         "distance_pixels",
                                         "covers",
                                         "whole",
                                         "inside",
                                         "travel",
                                         "upright"};

json pixelJson(const Eigen::Vector2d& pixel) { return {pixel.x(), pixel.y()}; }

json boundJson(MotorBound bound) {
  const char* const word = boundWord(bound);
  return word == nullptr ? json(nullptr) : json(word);
}

json noPosition() {
  json empty = json::object();
  for (const char* key : kPositionKeys) empty[key] = nullptr;
  return empty;
}

std::string noteOf(const SearchAnswer& answer) {
  std::string note;
  const auto add = [&](const std::string& sentence) {
    note += (note.empty() ? "" : "; ") + sentence;
  };
  for (const Obstacle& obstacle : answer.obstacles) add(obstacle.sentence);
  for (const std::string& remark : answer.remarks) add(remark);
  return note;
}

json alternativesJson(const PTZCameraModel& model, const SearchOptions& options,
                      const SearchAnswer& answer) {
  if (!options.all) return nullptr;
  json list = json::array();
  for (std::size_t i = 1; i < answer.aim.size(); ++i) {
    list.push_back(positionJson(model, &answer.aim[i]));
  }
  return list;
}

}  // namespace

json verdictJson(const SearchAnswer& answer) {
  const std::string note = noteOf(answer);
  return {
      {"reached", answer.isReached()},
      {"reason", answer.isReached() ? json(nullptr) : json(answer.obstacles.front().word)},
      {"note", note.empty() ? json(nullptr) : json(note)},
      {"tolerance_pixels", answer.aim.empty() ? json(nullptr) : json(answer.tolerance)},
      {"target", answer.target ? json{answer.target->x(), answer.target->y(), answer.target->z()}
                               : json(nullptr)}};
}

json positionJson(const PTZCameraModel& model, const AimPosition* position) {
  if (position == nullptr) return noPosition();
  const PanTiltModel& head = model.getPanTiltModel();
  const AimPosition& p = *position;
  return {{"pan", p.motors.pan},
          {"tilt", p.motors.tilt},
          {"zoom", p.motors.zoom},
          {"pan_degrees", panDegrees(head, p.motors.pan)},
          {"tilt_degrees", tiltDegrees(head, p.motors.tilt)},
          {"zoom_factor", numberOf(model.stepsToZoomXFactor(p.motors.zoom))},
          {"limited", p.isLimited()},
          {"pan_bound", boundJson(p.pan_bound)},
          {"tilt_bound", boundJson(p.tilt_bound)},
          {"zoom_bound", boundJson(p.zoom_bound)},
          {"lands_at", pixelJson(p.lands)},
          {"wanted_at", pixelJson(p.wanted)},
          {"distance_pixels", p.miss},
          {"covers", {p.low.x(), p.low.y(), p.high.x(), p.high.y()}},
          {"whole", p.is_whole},
          {"inside", p.is_inside},
          {"travel", {p.pan_travel, p.tilt_travel, p.zoom_travel}},
          {"upright", p.is_upright}};
}

std::string searchJson(const PTZCameraModel& model, const SearchOptions& options,
                       const SearchAnswer& answer) {
  json document = verdictJson(answer);
  document.update(positionJson(model, answer.aim.empty() ? nullptr : &answer.aim.best()));
  document["alternatives"] = alternativesJson(model, options, answer);
  return printJson(document);
}

}  // namespace norv::tools
