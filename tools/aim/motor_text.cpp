#include "tools/aim/motor_text.h"

#include <fmt/format.h>

#include "tools/angles.h"
#include "tools/output/text_table.h"

namespace norv::tools {

using calibration::PanTiltModel;
using calibration::PanTiltSystemParameters;
using calibration::PTZCameraModel;

double panDegrees(const PanTiltModel& head, int steps) {
  return degrees((steps - static_cast<double>(head.getPanOffset())) *
                 static_cast<double>(head.getPanScale()));
}

double tiltDegrees(const PanTiltModel& head, int steps) {
  return degrees((steps - static_cast<double>(head.getTiltOffset())) *
                 static_cast<double>(head.getTiltScale()));
}

std::string motorText(const PTZCameraModel& model, const Motors& m) {
  const PanTiltModel& head = model.getPanTiltModel();
  return alignTable(
      {{"pan", fmt::format("{} steps", m.pan), formatFixed(panDegrees(head, m.pan), 3) + " deg"},
       {"tilt", fmt::format("{} steps", m.tilt),
        formatFixed(tiltDegrees(head, m.tilt), 3) + " deg"},
       {"zoom", fmt::format("{} steps", m.zoom),
        formatFixed(model.stepsToZoomXFactor(m.zoom), 3) + " x"}},
      0);
}

std::string rangeText(const PanTiltSystemParameters& head) {
  const bool pan = head.has_min_pan() || head.has_max_pan();
  const bool tilt = head.has_min_tilt() || head.has_max_tilt();
  if (pan && tilt) return "pan and tilt are within their range\n";
  if (!pan && !tilt) return "the calibration states no range for pan and tilt\n";
  return fmt::format("{} is within its range, the calibration states none for {}\n",
                     pan ? "pan" : "tilt", pan ? "tilt" : "pan");
}

std::string formatPixel(double x, double y) { return formatFixed(x, 2) + ", " + formatFixed(y, 2); }

}  // namespace norv::tools
