#include "tools/aim/aim_report.h"

#include <fmt/format.h>

#include "tools/aim/motor_text.h"
#include "tools/aim/sight.h"
#include "tools/output/json_output.h"
#include "tools/output/text_table.h"
#include "tools/output/wrapping.h"
#include "tools/review/head_block.h"

namespace norv::tools {
namespace {

using calibration::PanTiltModel;
using calibration::PanTiltSystemParameters;
using calibration::PTZCameraModel;
using calibration::PTZIntrinsicsTable;

std::string pixelText(const Vector2_f& pixel) {
  return formatPixel(static_cast<double>(pixel.x()), static_cast<double>(pixel.y()));
}

/// A box chooses the zoom. The range of that motor is not in a calibration.
std::string zoomText(const Aim& aim, const AimRequest& request, const PTZIntrinsicsTable& table) {
  const auto& samples = table.samples();
  const bool sampled = aim.motors->zoom >= samples[0].zoom() &&
                       aim.motors->zoom < samples[samples.size() - 1].zoom();
  return request.box && sampled ? "the zoom is within the lens samples\n" : "";
}

std::string limitText(const Aim& aim, const PanTiltSystemParameters& head) {
  if (!aim.isLimited()) return rangeText(head);
  std::string motors;
  if (aim.motors->pan != aim.unlimited.pan) {
    motors = fmt::format("pan {} is out of reach", aim.unlimited.pan);
  }
  if (aim.motors->tilt != aim.unlimited.tilt) {
    motors +=
        fmt::format("{}tilt {} is out of reach", motors.empty() ? "" : ", ", aim.unlimited.tilt);
  }
  return wrapText("limited by the range of the motors: ", motors, 2);
}

std::string landingText(const Aim& aim, const AimRequest& request,
                        const PTZIntrinsicsTable& table) {
  if (!aim.lands) return "";
  const std::string assumed = request.point ? ""
                                            : fmt::format(", taken {} m away (see --distance),",
                                                          formatFixed(aim.distance, 2));
  const Vector2_f& p = *aim.lands;
  const bool inside = isInPicture(p, table);
  return fmt::format("the target{} lands at {},\n  {} px from {}{}\n", assumed, pixelText(p),
                     formatFixed((p - *aim.wanted).norm(), 2), pixelText(*aim.wanted),
                     inside ? "" : ", outside of the picture");
}

std::string boxText(const Aim& aim, const PTZIntrinsicsTable& table) {
  if (!aim.box) return "";
  std::string text =
      fmt::format("the box spans {} to {} of the {}x{} picture", pixelText(aim.box->low),
                  pixelText(aim.box->high), table.image_width(), table.image_height());
  if (aim.box->outside > 0) {
    text += fmt::format(",\n  not all of it inside: by {} px", formatFixed(aim.box->outside, 2));
  }
  return text + "\n";
}

json pixelJson(const std::optional<Vector2_f>& pixel) {
  return pixel ? listOf(*pixel) : json(nullptr);
}

json boxJson(const Aim& aim) {
  if (!aim.box) return nullptr;
  const Vector2_f& low = aim.box->low;
  const Vector2_f& high = aim.box->high;
  return {numberOf(low.x()), numberOf(low.y()), numberOf(high.x()), numberOf(high.y())};
}

/// All sentences in one text; null without any.
json noteJson(const Aim& aim) {
  std::string note;
  for (const auto* sentences : {&aim.obstacles, &aim.remarks}) {
    for (const std::string& sentence : *sentences) {
      note += (note.empty() ? "" : "; ") + sentence;
    }
  }
  return note.empty() ? json(nullptr) : json(note);
}

/// A value that there is only with a solution.
template <class Value>
json ifSolved(const Aim& aim, const Value& value) {
  return aim.motors ? json(value(*aim.motors)) : json(nullptr);
}

}  // namespace

std::string aimText(const PTZCameraModel& model, const Aim& aim, const AimRequest& request) {
  std::string text;
  if (aim.motors) {
    const PTZIntrinsicsTable& table = model.getParams().intrinsics();
    text = motorText(model, *aim.motors) + limitText(aim, model.getParams().pan_tilt()) +
           zoomText(aim, request, table) + landingText(aim, request, table) + boxText(aim, table);
  }
  for (const std::string& obstacle : aim.obstacles) text += wrapText("not reached: ", obstacle, 2);
  for (const std::string& remark : aim.remarks) text += wrapText("note: ", remark, 2);
  if (aim.better_head) text += "\n" + headBlock(*aim.better_head);
  return text;
}

std::string aimJson(const PTZCameraModel& model, const Aim& aim) {
  const PanTiltModel& head = model.getPanTiltModel();
  const bool seen = aim.lands && aim.wanted;
  return printJson(
      {{"reached", aim.isReached()},
       {"pan", ifSolved(aim, [](const Motors& m) { return m.pan; })},
       {"tilt", ifSolved(aim, [](const Motors& m) { return m.tilt; })},
       {"zoom", ifSolved(aim, [](const Motors& m) { return m.zoom; })},
       {"pan_degrees", ifSolved(aim, [&](const Motors& m) { return panDegrees(head, m.pan); })},
       {"tilt_degrees", ifSolved(aim, [&](const Motors& m) { return tiltDegrees(head, m.tilt); })},
       {"zoom_factor",
        ifSolved(aim, [&](const Motors& m) { return numberOf(model.stepsToZoomXFactor(m.zoom)); })},
       {"limited", aim.isLimited()},
       {"unlimited_pan", ifSolved(aim, [&](const Motors&) { return aim.unlimited.pan; })},
       {"unlimited_tilt", ifSolved(aim, [&](const Motors&) { return aim.unlimited.tilt; })},
       {"target", listOf(aim.target)},
       {"lands_at", pixelJson(aim.lands)},
       {"wanted_at", pixelJson(aim.wanted)},
       {"distance_pixels", seen ? numberOf((*aim.lands - *aim.wanted).norm()) : json(nullptr)},
       {"box_lands", boxJson(aim)},
       {"note", noteJson(aim)},
       {"better_pan_tilt", aim.better_head ? json(headBlock(*aim.better_head)) : json(nullptr)}});
}

}  // namespace norv::tools
