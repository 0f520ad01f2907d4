#pragma once

/// What comparing two calibrations says of one camera.

#include <gtest/gtest.h>

#include "calibration_common/calibration_diff.h"
#include "testing/calibration_messages.h"

namespace norv::testing {

/// The camera that both have, which must be the only one asked for.
inline calibration::CameraDifference diffCamera(const calibration::RobotCalibration& a,
                                                const calibration::RobotCalibration& b,
                                                const calibration::DiffOptions& options = {}) {
  const auto difference = diffCalibrations(a, b, options);
  EXPECT_TRUE(difference);
  if (!difference || difference->cameras.size() != 1) {
    ADD_FAILURE() << "there is not one camera";
    return {};
  }
  return difference->cameras.front();
}

/// Cameras of one size.
inline calibration::ImageDifference diffImage(const calibration::CameraCalibration& a,
                                              const calibration::CameraCalibration& b,
                                              const calibration::DiffOptions& options = {}) {
  const calibration::CameraDifference camera = diffCamera(robotOf({a}), robotOf({b}), options);
  EXPECT_EQ(camera.images.size(), 1U);
  return camera.images.empty() ? calibration::ImageDifference{} : camera.images.front();
}

}  // namespace norv::testing
