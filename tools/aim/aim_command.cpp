#include "tools/aim/aim_command.h"

#include <fmt/format.h>

#include "calibration_common/ptz_camera_model.h"
#include "tools/aim/aim_report.h"
#include "tools/aim/aim_solution.h"
#include "tools/input/calibration_kind.h"
#include "tools/input/number_list.h"
#include "tools/input/ptz_loading.h"
#include "tools/tool_error.h"
#include "tools/usage/file_name.h"

namespace norv::tools {
namespace {

using calibration::PTZCameraModelPtr;
using calibration::PTZCameraParameters;

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
  requireFileName(aim->add_option("CALIBRATION", options->path,
                                  "Calibration of a pan-tilt-zoom camera, binary or text"))
      ->required();
  addList(aim, "--at", "PAN,TILT,ZOOM", "Where the motors are now, steps", &options->request.at,
          parseIntegers<3>)
      ->required();
  CLI::Option* pixel =
      addList(aim, "--pixel", "X,Y",
              "Centre what this pixel shows 1 m away; with --point, bring the point there",
              &options->request.pixel, parseNumbers<2>);
  CLI::Option* box =
      addList(aim, "--box", "X1,Y1,X2,Y2",
              "Frame the box with these corners, pixels. What is centred lies where the unit rays "
              "of the two, added up, end: about 2 m away, less for a wide box",
              &options->request.box, parseNumbers<4>);
  addList(aim, "--point", "X,Y,Z", "Centre this world point, metres", &options->request.point,
          parseNumbers<3>)
      ->excludes(box);
  box->excludes(pixel);
  aim->add_flag("--json", options->json, "Print JSON for programs");
  aim->footer(
      "Exits with 3, and prints what it found and why, when what was asked for is out of reach: no "
      "solution, a target that is behind the camera, far outside of the picture or kept from its "
      "place by more than a pixel by the limits of the motors, a zoom position without a lens, a "
      "box that no zoom shows as a whole.");
  aim->callback([options] {
    const AimRequest& request = options->request;
    if (!request.pixel && !request.box && !request.point) {
      throw CLI::RequiredError("One of --pixel, --box and --point");
    }
  });
  return aim;
}

ToolAnswer runAimCommand(const AimOptions& options) {
  CalibrationInput input = readInput(options.path);
  PTZCameraParameters params;
  parseExpected(&input, CalibrationKind::kPtz, &params);
  const PTZCameraModelPtr model = loadPtz(input, params);
  try {
    const Aim aim = findAim(model, options.request);
    const std::string text =
        options.json ? aimJson(*model, aim) : aimText(*model, aim, options.request);
    return {text, "", aim.isReached() ? kDone : kOutOfReach};
  } catch (const ToolError& error) {
    throw ToolError(input.name + ": " + error.what());
  }
}

}  // namespace norv::tools
