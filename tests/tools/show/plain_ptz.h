#pragma once

#include "testing/example_ptz.h"

namespace norv::testing {

/// Two lens samples without distortion, 90 and 53.13 degrees across, and the example head without
/// upper limits.
inline calibration::PTZCameraParameters plainPtz() {
  calibration::PTZCameraParameters ptz = examplePtz();
  calibration::PTZIntrinsicsTable* lens = ptz.mutable_intrinsics();
  *lens = testing::pinholeLens();
  lens->mutable_samples()->DeleteSubrange(2, lens->samples_size() - 2);
  lens->mutable_samples(0)->set_focal_length(960);
  lens->mutable_samples(1)->set_focal_length(1920);
  ptz.mutable_pan_tilt()->clear_max_pan();
  ptz.mutable_pan_tilt()->clear_max_tilt();
  ptz.mutable_pan_tilt()->set_home_tilt(1000);
  return ptz;
}

}  // namespace norv::testing
