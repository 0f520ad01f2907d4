#include "tools/aim/aim_command.h"

#include <fmt/format.h>

#include <cmath>

#include "calibration_common/ptz_camera_model.h"
#include "tools/input/calibration_kind.h"
#include "tools/input/number_list.h"
#include "tools/input/ptz_loading.h"
#include "tools/output/json_output.h"
#include "tools/output/text_table.h"
#include "tools/tool_error.h"

namespace norv::tools {
namespace {

using calibration::PTZCameraModel;
using calibration::PTZCameraModelPtr;
using calibration::PTZCameraParameters;
using calibration::PTZIntrinsicsTable;

constexpr double kDegreesPerRadian = 57.29577951308232;

double degrees(int steps, float offset, float scale) {
  return (steps - static_cast<double>(offset)) * static_cast<double>(scale) * kDegreesPerRadian;
}

std::string pixelText(const Vector2_f& pixel) {
  return formatFixed(static_cast<double>(pixel.x()), 2) + ", " +
         formatFixed(static_cast<double>(pixel.y()), 2);
}

std::string motorText(const PTZCameraModel& model, const Motors& m) {
  const auto& head = model.getPanTiltModel();
  return alignTable(
      {{"pan", fmt::format("{} steps", m.pan),
        formatFixed(degrees(m.pan, head.getPanOffset(), head.getPanScale()), 3) + " deg"},
       {"tilt", fmt::format("{} steps", m.tilt),
        formatFixed(degrees(m.tilt, head.getTiltOffset(), head.getTiltScale()), 3) + " deg"},
       {"zoom", fmt::format("{} steps", m.zoom),
        formatFixed(static_cast<double>(model.stepsToZoomXFactor(m.zoom)), 3) + " x"}},
      0);
}

std::string limitText(const Aim& aim) {
  if (!aim.isLimited()) return "within the range of the motors\n";
  std::string text = "limited by the range of the motors:";
  if (aim.motors.pan != aim.unlimited.pan) {
    text += fmt::format(" pan {} is out of reach", aim.unlimited.pan);
  }
  if (aim.motors.tilt != aim.unlimited.tilt) {
    text += fmt::format("{} tilt {} is out of reach",
                        aim.motors.pan != aim.unlimited.pan ? "," : "", aim.unlimited.tilt);
  }
  return text + "\n";
}

bool isInside(float low_x, float low_y, float high_x, float high_y,
              const PTZIntrinsicsTable& table) {
  return low_x >= 0 && low_y >= 0 && high_x <= static_cast<float>(table.image_width()) &&
         high_y <= static_cast<float>(table.image_height());
}

std::string landingText(const Aim& aim, const AimRequest& request,
                        const PTZIntrinsicsTable& table) {
  if (!aim.lands) return aim.why_unseen + "\n";
  const std::string assumed =
      request.point
          ? ""
          : fmt::format(", taken {} m away,", formatFixed(static_cast<double>(aim.distance), 2));
  const float x = aim.lands->x();
  const float y = aim.lands->y();
  return fmt::format("the target{} lands at {}, {} px from {}{}\n", assumed, pixelText(*aim.lands),
                     formatFixed(static_cast<double>((*aim.lands - *aim.wanted).norm()), 2),
                     pixelText(*aim.wanted),
                     isInside(x, y, x, y, table) ? "" : ", outside of the picture");
}

std::string boxText(const Aim& aim, const PTZIntrinsicsTable& table) {
  if (!aim.box_lands) return "";
  const auto& b = *aim.box_lands;
  return fmt::format("the box spans {} to {} of the {}x{} picture{}\n", pixelText({b[0], b[1]}),
                     pixelText({b[2], b[3]}), table.image_width(), table.image_height(),
                     isInside(b[0], b[1], b[2], b[3], table) ? "" : ", not all of it inside");
}

json pixelJson(const std::optional<Vector2_f>& pixel) {
  return pixel ? json({pixel->x(), pixel->y()}) : json(nullptr);
}

json aimJson(const PTZCameraModel& model, const Aim& aim) {
  const auto& head = model.getPanTiltModel();
  const Motors& m = aim.motors;
  const bool seen = aim.lands && aim.wanted;
  return {{"pan", m.pan},
          {"tilt", m.tilt},
          {"zoom", m.zoom},
          {"pan_degrees", degrees(m.pan, head.getPanOffset(), head.getPanScale())},
          {"tilt_degrees", degrees(m.tilt, head.getTiltOffset(), head.getTiltScale())},
          {"zoom_factor", model.stepsToZoomXFactor(m.zoom)},
          {"limited", aim.isLimited()},
          {"unlimited_pan", aim.unlimited.pan},
          {"unlimited_tilt", aim.unlimited.tilt},
          {"target", {aim.target.x(), aim.target.y(), aim.target.z()}},
          {"lands_at", pixelJson(aim.lands)},
          {"wanted_at", pixelJson(aim.wanted)},
          {"distance_pixels", seen ? json((*aim.lands - *aim.wanted).norm()) : json(nullptr)},
          {"box_lands", aim.box_lands ? json(*aim.box_lands) : json(nullptr)},
          {"note", aim.why_unseen.empty() ? json(nullptr) : json(aim.why_unseen)}};
}

/// An option whose value is a list of numbers; `parse` says whether a text is one.
template <class List, class Parse>
CLI::Option* addList(CLI::App* app, const std::string& name, const std::string& type,
                     const std::string& description, List* list, const Parse& parse) {
  return app
      ->add_option_function<std::string>(
          name, [list, parse](const std::string& text) { *list = *parse(text); }, description)
      ->type_name(type)
      ->check([parse, type](const std::string& text) {
        return parse(text) ? std::string() : fmt::format("not of the form {}: {}", type, text);
      });
}

}  // namespace

CLI::App* addAimCommand(CLI::App* app, AimOptions* options) {
  CLI::App* aim = app->add_subcommand(
      "aim",
      "Pan, tilt and zoom that put a pixel, a box or a world point in the middle of the picture");
  aim->add_option("CALIBRATION", options->path,
                  "Calibration of a pan-tilt-zoom camera, binary or text")
      ->required();
  addList(aim, "--at", "PAN,TILT,ZOOM", "Where the motors are now, steps", &options->request.at,
          parseIntegers<3>)
      ->required();
  CLI::Option* pixel =
      addList(aim, "--pixel", "X,Y",
              "Centre what this pixel shows 1 m away; with --point, bring the point there",
              &options->request.pixel, parseNumbers<2>);
  CLI::Option* box =
      addList(aim, "--box", "X1,Y1,X2,Y2", "Frame the box with these corners, pixels",
              &options->request.box, parseNumbers<4>);
  addList(aim, "--point", "X,Y,Z", "Centre this world point, metres", &options->request.point,
          parseNumbers<3>)
      ->excludes(box);
  box->excludes(pixel);
  aim->add_flag("--json", options->json, "Print JSON for programs");
  aim->callback([options] {
    const AimRequest& request = options->request;
    if (!request.pixel && !request.box && !request.point) {
      throw CLI::RequiredError("One of --pixel, --box and --point");
    }
  });
  return aim;
}

std::string runAimCommand(const AimOptions& options) {
  CalibrationInput input = readInput(options.path);
  PTZCameraParameters params;
  parseExpected(&input, CalibrationKind::kPtz, &params);
  const PTZCameraModelPtr model = loadPtz(input, params);
  try {
    const Aim aim = findAim(model, options.request);
    if (options.json) return printJson(aimJson(*model, aim));
    return motorText(*model, aim.motors) + limitText(aim) +
           landingText(aim, options.request, params.intrinsics()) +
           boxText(aim, params.intrinsics());
  } catch (const ToolError& error) {
    throw ToolError(input.name + ": " + error.what());
  }
}

}  // namespace norv::tools
