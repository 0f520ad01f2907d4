#include "tools/aim/track_answer.h"

#include <fmt/format.h>

#include "tools/aim/search_report.h"
#include "tools/input/number_list.h"
#include "tools/output/json_output.h"

namespace norv::tools {
namespace {

using calibration::AimPosition;
using calibration::PTZCameraModel;

constexpr const char* kBadLine = "bad-line";

const AimPosition* positionOf(const TrackStep& step) {
  return step.read.target && !step.answer.aim.empty() ? &step.answer.aim.best() : nullptr;
}

const char* yesNo(bool value) { return value ? "yes" : "no"; }

std::string positionCsv(const AimPosition* position) {
  if (position == nullptr) return ",,,,,";
  return fmt::format("{},{},{},{},{},{}", position->lands.x(), position->lands.y(), position->miss,
                     yesNo(position->isLimited()), yesNo(position->is_inside),
                     yesNo(position->is_upright));
}

/// A whole number, as clocks count nanoseconds, keeps all of its digits.
json timeJson(const std::string& time) {
  if (time.empty()) return nullptr;
  const std::string digits = time[0] == '+' ? time.substr(1) : time;
  const json whole = json::parse(digits, nullptr, false);
  return whole.is_number_integer() ? whole : json(*parseNumber(digits));
}

json badLineJson(const std::string& problem) {
  return {{"reached", false},
          {"reason", kBadLine},
          {"note", problem},
          {"tolerance_pixels", nullptr},
          {"target", nullptr}};
}

}  // namespace

std::string trackHeader() {
  return "line,time,pan,tilt,zoom,lands_x,lands_y,distance_pixels,limited,inside,upright,reason\n";
}

std::string trackCsv(const TrackStep& step) {
  const auto& target = step.read.target;
  const std::string reason = !target                   ? kBadLine
                             : step.answer.isReached() ? ""
                                                       : step.answer.obstacles.front().word;
  return fmt::format("{},{},{},{},{},{},{}\n", step.line, target ? target->time : "",
                     step.motors.pan, step.motors.tilt, step.motors.zoom,
                     positionCsv(positionOf(step)), reason);
}

std::string trackJson(const PTZCameraModel& model, const TrackStep& step) {
  const auto& target = step.read.target;
  json document = {{"line", step.line}, {"time", timeJson(target ? target->time : "")}};
  document.update(target ? verdictJson(step.answer) : badLineJson(step.read.problem));
  document.update(positionJson(model, positionOf(step)));
  document["pan"] = step.motors.pan;
  document["tilt"] = step.motors.tilt;
  document["zoom"] = step.motors.zoom;
  return document.dump(-1, ' ', true, json::error_handler_t::replace) + "\n";
}

}  // namespace norv::tools
