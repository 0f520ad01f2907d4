#include "tools/input/zoom_position.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace norv::tools {

using calibration::PTZCameraModelConfiguration;

namespace {

/// "below the first lens sample", "at or beyond the last lens sample", or empty between the two.
std::string placeOutside(const PTZCameraModelConfiguration& configuration) {
  const auto& samples = configuration.getModel()->getParams().intrinsics().samples();
  if (configuration.getZoom() < samples[0].zoom()) return "below the first lens sample";
  if (configuration.getZoom() >= samples[samples.size() - 1].zoom()) {
    return "at or beyond the last lens sample";
  }
  return "";
}

}  // namespace

bool hasLens(const PTZCameraModelConfiguration& configuration) {
  const auto& distortion = configuration.getDistortion();
  return configuration.getIntrinsics().allFinite() &&
         std::all_of(distortion.begin(), distortion.end(),
                     [](float k) { return std::isfinite(k); });
}

std::string explainMissingLens(const PTZCameraModelConfiguration& configuration) {
  const std::string place = placeOutside(configuration);
  return fmt::format("zoom position {} is {}, where the lens is not known", configuration.getZoom(),
                     place.empty() ? "between lens samples that give none" : place);
}

std::optional<std::string> explainExtrapolation(const PTZCameraModelConfiguration& configuration) {
  const std::string place = placeOutside(configuration);
  if (place.empty() || !hasLens(configuration)) return std::nullopt;
  return fmt::format("zoom position {} is {}: the lens there is extrapolated",
                     configuration.getZoom(), place);
}

}  // namespace norv::tools
