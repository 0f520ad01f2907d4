#include "tools/aim_command.h"

#include <fmt/format.h>

#include <cmath>
#include <memory>

#include "calibration_common/ptz_camera_model.h"
#include "support/logging.h"
#include "support/saturate.h"
#include "tools/calibration_input.h"
#include "tools/json_output.h"
#include "tools/number_list.h"
#include "tools/ptz_loading.h"
#include "tools/text_table.h"
#include "tools/tool_error.h"

namespace norv::tools {
namespace {

using calibration::limitToMotorRange;
using calibration::PTZCameraModel;
using calibration::PTZCameraModelConfiguration;
using calibration::PTZCameraModelPtr;
using calibration::PTZCameraParameters;

/// Where to point, and where the target is wanted in the picture.
struct Target {
  Vector3_f point;  ///< world coordinates, metres
  Vector2_f pixel;
};

struct Motors {
  int pan;
  int tilt;
  int zoom;
};

/// What the user asked for, answered.
struct Aim {
  Motors motors;
  bool limited;     ///< whether a motor's range cut the answer short
  Vector2_f lands;  ///< where the target is in the new picture
  Vector2_f wanted;
};

constexpr double kDegreesPerRadian = 57.29577951308232;

Vector2_f principalPoint(const PTZCameraModelConfiguration& configuration) {
  return {configuration.getIntrinsics()(0, 2), configuration.getIntrinsics()(1, 2)};
}

PTZCameraModelConfiguration configure(const PTZCameraModelPtr& model, const Motors& motors) {
  PTZCameraModelConfiguration configuration(model, motors.pan, motors.tilt, motors.zoom);
  if (!configuration.getIntrinsics().allFinite()) {
    throw ToolError(
        fmt::format("zoom position {} is at or beyond the last lens sample, where the lens is "
                    "not known",
                    motors.zoom));
  }
  return configuration;
}

/// Runs a pointing operation; the reason that the library logs becomes the error when it fails.
template <class Operation>
void point(const Operation& operation) {
  std::string reason = "no position of the head shows that";
  setLogSink([&](const LogRecord& record) {
    if (record.level <= kLogWarning) reason = record.text.substr(0, record.text.find(':'));
  });
  const bool found = operation();
  setLogSink({});
  if (!found) throw ToolError(reason);
}

Vector3_f unitRay(const PTZCameraModelConfiguration& now, float x, float y) {
  const Vector3_f ray = now.projectPixelToRay({x, y});
  if (!ray.allFinite()) throw ToolError(fmt::format("no ray reaches pixel {},{}", x, y));
  return ray.normalized();
}

/// The point that the answer brings to the target's pixel, as the library chooses it.
Target findTarget(const PTZCameraModelConfiguration& now, const AimOptions& options) {
  const Vector2_f middle = principalPoint(now);
  if (options.point) {
    const auto& p = *options.point;
    return {{p[0], p[1], p[2]},
            options.pixel ? Vector2_f((*options.pixel)[0], (*options.pixel)[1]) : middle};
  }
  if (options.box) {
    const auto& b = *options.box;
    return {now.getCameraCenter() + unitRay(now, b[0], b[1]) + unitRay(now, b[2], b[3]), middle};
  }
  const auto& p = *options.pixel;
  return {now.getCameraCenter() + unitRay(now, p[0], p[1]), middle};
}

Motors pointMotors(const PTZCameraModelConfiguration& now, const AimOptions& options,
                   const Motors& unlimited) {
  Motors motors = unlimited;
  if (options.point) {
    limitToMotorRange(now.getModel()->getParams().pan_tilt(), &motors.pan, &motors.tilt);
  } else if (options.box) {
    const auto& b = *options.box;
    point([&] {
      return now.getPanTiltZoom({b[0], b[1]}, {b[2], b[3]}, &motors.pan, &motors.tilt,
                                &motors.zoom);
    });
  } else {
    const auto& p = *options.pixel;
    point([&] { return now.getPanTilt({p[0], p[1]}, &motors.pan, &motors.tilt); });
  }
  return motors;
}

Aim solve(const PTZCameraModelConfiguration& now, const AimOptions& options) {
  const Target target = findTarget(now, options);
  float pan = 0;
  float tilt = 0;
  point([&] { return now.getPanTilt(target.point, target.pixel, &pan, &tilt); });
  const Motors unlimited = {truncateToInt(std::round(static_cast<double>(pan))),
                            truncateToInt(std::round(static_cast<double>(tilt))), now.getZoom()};
  Aim aim;
  aim.motors = pointMotors(now, options, unlimited);
  aim.limited = aim.motors.pan != unlimited.pan || aim.motors.tilt != unlimited.tilt;
  const PTZCameraModelConfiguration then = configure(now.getModel(), aim.motors);
  aim.lands = then.project3dToCamera(target.point);
  aim.wanted = options.point ? target.pixel : principalPoint(then);
  return aim;
}

double degrees(int steps, float offset, float scale) {
  return (steps - static_cast<double>(offset)) * static_cast<double>(scale) * kDegreesPerRadian;
}

std::string aimText(const PTZCameraModel& model, const Aim& aim) {
  const auto& head = model.getPanTiltModel();
  const Motors& m = aim.motors;
  return alignTable(
             {{"pan", fmt::format("{} steps", m.pan),
               formatFixed(degrees(m.pan, head.getPanOffset(), head.getPanScale()), 3) + " deg"},
              {"tilt", fmt::format("{} steps", m.tilt),
               formatFixed(degrees(m.tilt, head.getTiltOffset(), head.getTiltScale()), 3) + " deg"},
              {"zoom", fmt::format("{} steps", m.zoom),
               formatFixed(static_cast<double>(model.stepsToZoomXFactor(m.zoom)), 3) + " x"}},
             0) +
         (aim.limited ? "limited by the range of the motors\n"
                      : "within the range of the motors\n") +
         fmt::format("the target lands at {}, {}, {} px from {}, {}\n",
                     formatFixed(static_cast<double>(aim.lands.x()), 2),
                     formatFixed(static_cast<double>(aim.lands.y()), 2),
                     formatFixed(static_cast<double>((aim.lands - aim.wanted).norm()), 2),
                     formatFixed(static_cast<double>(aim.wanted.x()), 2),
                     formatFixed(static_cast<double>(aim.wanted.y()), 2));
}

json aimJson(const PTZCameraModel& model, const Aim& aim) {
  const auto& head = model.getPanTiltModel();
  const Motors& m = aim.motors;
  return {{"pan", m.pan},
          {"tilt", m.tilt},
          {"zoom", m.zoom},
          {"pan_degrees", degrees(m.pan, head.getPanOffset(), head.getPanScale())},
          {"tilt_degrees", degrees(m.tilt, head.getTiltOffset(), head.getTiltScale())},
          {"zoom_factor", model.stepsToZoomXFactor(m.zoom)},
          {"limited", aim.limited},
          {"lands_at", {aim.lands.x(), aim.lands.y()}},
          {"wanted_at", {aim.wanted.x(), aim.wanted.y()}},
          {"distance_pixels", (aim.lands - aim.wanted).norm()}};
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
  addList(aim, "--at", "PAN,TILT,ZOOM", "Where the motors are now, steps", &options->at,
          parseIntegers<3>)
      ->required();
  CLI::Option* pixel =
      addList(aim, "--pixel", "X,Y", "Centre this pixel; with --point, bring the point there",
              &options->pixel, parseNumbers<2>);
  CLI::Option* box =
      addList(aim, "--box", "X1,Y1,X2,Y2", "Frame the box with these corners, pixels",
              &options->box, parseNumbers<4>);
  addList(aim, "--point", "X,Y,Z", "Centre this world point, metres", &options->point,
          parseNumbers<3>)
      ->excludes(box);
  box->excludes(pixel);
  aim->add_flag("--json", options->json, "Print JSON for programs");
  aim->callback([options] {
    if (!options->pixel && !options->box && !options->point) {
      throw CLI::RequiredError("One of --pixel, --box and --point");
    }
  });
  return aim;
}

std::string runAimCommand(const AimOptions& options) {
  CalibrationInput input = readInput(options.path);
  PTZCameraParameters params;
  parseInput(&input, &params);
  const PTZCameraModelPtr model = loadPtz(input, params);
  const auto now = configure(model, {options.at[0], options.at[1], options.at[2]});
  const Aim aim = solve(now, options);
  return options.json ? printJson(aimJson(*model, aim)) : aimText(*model, aim);
}

}  // namespace norv::tools
