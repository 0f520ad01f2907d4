#pragma once

/// Pan-tilt-zoom cameras whose table of zooms and focal lengths is written out.

#include <utility>
#include <vector>

#include "proto/norv_ptz_camera.pb.h"
#include "testing/example_ptz.h"

namespace norv::testing {

/// The example head with a table of (zoom, focal length).
inline calibration::PTZCameraParameters ptzOf(const std::vector<std::pair<double, double>>& samples,
                                              int start, int interval) {
  calibration::PTZCameraParameters ptz;
  *ptz.mutable_pan_tilt() = exampleHead();
  calibration::PTZIntrinsicsTable* table = ptz.mutable_intrinsics();
  table->set_zoom_start(start);
  table->set_zoom_interval(interval);
  for (const auto& [zoom, focal_length] : samples) {
    calibration::PTZIntrinsicsItem* sample = table->add_samples();
    sample->set_zoom(zoom);
    sample->set_focal_length(focal_length);
  }
  return ptz;
}

/// Focal lengths 100, 200 and 600 at the zooms 50, 150 and 250: factors 1, 2 and 6.
inline calibration::PTZCameraParameters ptzOfThreeSamples() {
  return ptzOf({{50, 100}, {150, 200}, {250, 600}}, 50, 100);
}

}  // namespace norv::testing
