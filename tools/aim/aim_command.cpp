#include "tools/aim/aim_command.h"

#include <cstdio>
#include <iostream>

#include "calibration_common/ptz_camera_model.h"
#include "support/printable_text.h"
#include "tools/aim/aim_report.h"
#include "tools/aim/aim_search.h"
#include "tools/aim/aim_solution.h"
#include "tools/aim/search_report.h"
#include "tools/aim/track.h"
#include "tools/input/calibration_kind.h"
#include "tools/input/ptz_loading.h"
#include "tools/tool_error.h"

namespace norv::tools {
namespace {

using calibration::PTZCameraModelPtr;
using calibration::PTZCameraParameters;

/// By the library's fixed operations.
ToolAnswer answerFixed(const PTZCameraModelPtr& model, const AimOptions& options) {
  const Aim aim = findAim(model, options.request);
  const std::string text =
      options.json ? aimJson(*model, aim) : aimText(*model, aim, options.request);
  return {text, "", aim.isReached() ? kDone : kOutOfReach};
}

ToolAnswer answerSearch(const PTZCameraModelPtr& model, const AimOptions& options) {
  const auto& at = options.request.at;
  const SearchAnswer answer =
      searchAim(model, options.search, requestOf(options.search, {at[0], at[1], at[2]}));
  const std::string text = options.json ? searchJson(*model, options.search, answer)
                                        : searchText(*model, options.search, answer);
  return {text, "", answer.isReached() ? kDone : kOutOfReach};
}

void complain(const std::string& sentence) {
  std::cerr << "camera-parameters: " << toPrintable(sentence) << '\n';
}

}  // namespace

ToolAnswer runAimCommand(const AimOptions& options) {
  CalibrationInput input = readInput(options.path);
  PTZCameraParameters params;
  parseExpected(&input, CalibrationKind::kPtz, &params);
  const PTZCameraModelPtr model = loadPtz(input, params);
  if (options.track) return {"", "", followTrack(model, options, stdout, complain)};
  try {
    return isSearch(options) ? answerSearch(model, options) : answerFixed(model, options);
  } catch (const ToolError& error) {
    throw ToolError(input.name + ": " + error.what());
  }
}

}  // namespace norv::tools
