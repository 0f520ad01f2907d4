#include "tools/input/ptz_loading.h"

#include <memory>

#include "tools/tool_error.h"

namespace norv::tools {

using calibration::PTZCameraModel;
using calibration::PTZCameraModelPtr;
using calibration::PTZCameraParameters;

PTZCameraModelPtr loadPtz(const CalibrationInput& input, const PTZCameraParameters& params) {
  if (const auto problem = findLoadProblem(params)) {
    throw ToolError(describeProblem(input, problem->field, problem->sentence));
  }
  return std::make_shared<const PTZCameraModel>(params);
}

}  // namespace norv::tools
