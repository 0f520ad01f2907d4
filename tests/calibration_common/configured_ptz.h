#pragma once

/// A pan-tilt-zoom camera at a zoom, its head at zero.

#include "calibration_common/ptz_camera_model.h"
#include "testing/example_ptz.h"

namespace norv::testing {

inline calibration::PTZCameraModelConfiguration configured(
    const calibration::PTZCameraParameters& params, int zoom) {
  return {ptzModel(params), 0, 0, zoom};
}

}  // namespace norv::testing
