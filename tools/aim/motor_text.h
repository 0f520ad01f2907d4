#pragma once

/// Positions of motors for people.

#include <string>

#include "calibration_common/ptz_camera_model.h"
#include "tools/aim/aim.h"

namespace norv::tools {

double panDegrees(const calibration::PanTiltModel& head, int steps);
double tiltDegrees(const calibration::PanTiltModel& head, int steps);

/// Three lines: the steps, and the angles and the zoom factor that they stand for.
std::string motorText(const calibration::PTZCameraModel& model, const Motors& motors);

/// A line that says what is known of the range of pan and tilt motors that no limit stops.
std::string rangeText(const calibration::PanTiltSystemParameters& head);

/// "960.00, 540.00"
std::string formatPixel(double x, double y);

}  // namespace norv::tools
