#include "tools/view/view_command.h"

#include <fmt/format.h>

#include <utility>

#include "tools/input/number_list.h"
#include "tools/usage/file_name.h"
#include "tools/usage/image_options.h"
#include "tools/usage/value_options.h"
#include "tools/view/picture_steps.h"
#include "tools/view/view_choice.h"
#include "tools/view/view_report.h"

namespace norv::tools {
namespace {

using calibration::CameraView;
using calibration::ViewCentre;

std::optional<ViewCentre> parseCentre(const std::string& text) {
  if (text == "free") return ViewCentre::kFree;
  if (text == "middle") return ViewCentre::kMiddle;
  if (text == "kept") return ViewCentre::kKept;
  return std::nullopt;
}

/// The kinds that have pictures.
std::optional<CalibrationKind> parsePicturedKind(const std::string& name) {
  const std::optional<CalibrationKind> kind = parseCalibrationKind(name);
  return kind == CalibrationKind::kBase ? std::nullopt : kind;
}

void addSource(CLI::App* view, ViewVerbOptions* options) {
  requireFileName(view->add_option(
      "FILE", options->path,
      "Calibration of fixed cameras or of a pan-tilt-zoom camera, binary, text or JSON; - is "
      "standard input; without it the compiled-in default"));
  addCameraOption(view, &options->camera, "The camera, where there are several");
  addImageSize(view, "--size", &options->size,
               "Size of the picture that the camera delivers, pixels, where there are several");
  addParsed(view, "--at", "PAN,TILT,ZOOM", "Where the motors of a pan-tilt-zoom camera are, steps",
            &options->at, parseIntegers<3>);
  addParsed(view, "--kind", "robot|ptz",
            "What FILE holds: fixed cameras or a pan-tilt-zoom camera; detected by default",
            &options->kind, parsePicturedKind);
}

void addSteps(CLI::App* view, PictureSteps* steps) {
  addParsed(view, "--cropped", "X,Y,WxH",
            "The picture was cut to this rectangle afterwards: its top left corner and its size, "
            "pixels",
            &steps->cropped, parseCrop);
  addParsed(view, "--binned", "CxR", "Then blocks of so many columns and rows were summed",
            &steps->binned, parseBin);
  addImageSize(
      view, "--resized", &steps->resized,
      fmt::format("Then it was scaled to this size, pixels, at most {0}x{0}", kMaxViewSide),
      kMaxViewSide);
  addParsed(view, "--flipped", "h|v|hv",
            "Then it was mirrored left to right, top to bottom, or both", &steps->flipped,
            parseFlip);
}

void addStraight(CLI::App* view, ViewVerbOptions* options) {
  constexpr double kMost = 1e9;
  addNumber(view, "--alpha", "A",
            "0: every pixel of the straightened picture shows the camera's; 1: it shows all of the "
            "camera's picture; between, the two are interpolated (default: 0)",
            0, 1, "a number from 0 to 1", [options](double value) { options->alpha = value; });
  addImageSize(view, "--view-size", &options->view_size,
               fmt::format("Size of the straightened picture, pixels, at most {0}x{0}; without it "
                           "that of the camera's",
                           kMaxViewSide),
               kMaxViewSide);
  addNumber(view, "--aspect", "R", "fx / fy of the straightened picture (default: the camera's)",
            1e-9, kMost, "a positive number",
            [options](double value) { options->straight.aspect = value; });
  addNumber(view, "--margin", "PX",
            "Pixels to keep away from the picture's border at alpha 0; 0.5 for bilinear sampling "
            "(default: 0)",
            0, kMost, "a number from 0 on",
            [options](double value) { options->straight.margin = value; });
  addParsed(view, "--centre", "free|middle|kept",
            "Where the optical axis lies in the straightened picture: wherever that is largest, in "
            "its middle, or as in the camera's (default: free)",
            &options->straight.centre, parseCentre);
}

/// Why there is no straightened picture.
std::string explainMissing(const ViewAnswer& answer) {
  if (answer.coverage.share < 1 && answer.alpha > 0) {
    return fmt::format(
        "there is no view at alpha {}: pixels of the picture's border have no ray; --alpha 0 keeps "
        "to the part of the lens that has",
        answer.alpha);
  }
  return "there is no straightened picture of this kind";
}

}  // namespace

CLI::App* addViewCommand(CLI::App* app, ViewVerbOptions* options) {
  CLI::App* view = app->add_subcommand(
      "view",
      "A camera at one picture size: camera matrix in both pixel origins, where its lens ends, "
      "fields of view, and the camera matrix of its straightened picture");
  addSource(view, options);
  addSteps(view, &options->steps);
  addStraight(view, options);
  view->add_flag("--json", options->json, "Print JSON for programs");
  view->footer("Exits with 3, and prints the rest, where there is no such straightened picture.");
  return view;
}

ToolAnswer runViewCommand(const ViewVerbOptions& options) {
  NamedView named = chooseView(options);
  const CameraView view = named.view;
  const ImageSize size = options.view_size.value_or(ImageSize{view.width(), view.height()});
  ViewAnswer answer{
      std::move(named),
      options.alpha,
      view.fitView(size.width, size.height, options.alpha, options.straight),
      view.naturalViewSize(0),
      view.naturalViewSize(1),
      view.coverage(),
  };
  if (!answer.straight) answer.named.notes.push_back(explainMissing(answer));
  return {options.json ? viewJson(answer) : viewText(answer), "",
          answer.straight ? kDone : kNoView};
}

}  // namespace norv::tools
