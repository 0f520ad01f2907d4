// What is seen at a pixel comes to the middle of the picture, at any distance and zoom.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "calibration_common/ptz_aiming.h"
#include "testing/example_ptz.h"

namespace norv::testing {
namespace {

using calibration::aim;
using calibration::Aim;
using calibration::AimPosition;
using calibration::AimRequest;
using calibration::PixelTarget;
using calibration::PTZCameraModelConfiguration;
using calibration::PTZCameraModelPtr;

constexpr int kStride = 40;  // pixels

/// Of the target from where it is wanted, steps of the example's motors, by the camera itself.
double missInSteps(const PTZCameraModelPtr& model, const PTZCameraModelConfiguration& before,
                   const Eigen::Vector2d& pixel, double distance, const AimPosition& position) {
  const Vector3_f target =
      before.getCameraCenter() +
      static_cast<float>(distance) * before.projectPixelToRay(pixel.cast<float>()).normalized();
  const PTZCameraModelConfiguration after(model, position.motors.pan, position.motors.tilt,
                                          position.motors.zoom);
  const Eigen::Vector2d seen = after.project3dToCamera(target).cast<double>();
  const double focal_length = static_cast<double>(after.getIntrinsics()(0, 0));
  return (seen - Eigen::Vector2d(960, 540)).norm() / (focal_length * 0.0005);
}

class AimingAtPixels : public ::testing::TestWithParam<double> {};

TEST_P(AimingAtPixels, CentresWhatIsThereWithinAStep) {
  const double distance = GetParam();
  const PTZCameraModelPtr model = ptzModel(examplePtz());
  for (const int zoom : {0, 1700, 5000, 9999}) {
    const PTZCameraModelConfiguration before(model, 500, 200, zoom);
    double worst = 0;
    for (int y = 0; y <= 1080; y += kStride) {
      for (int x = 0; x <= 1920; x += kStride) {
        const Aim found = aim(*model, {PixelTarget{{x, y}, distance}, {500, 200, zoom}});
        ASSERT_FALSE(found.empty()) << x << " " << y;
        ASSERT_FALSE(found.best().isLimited()) << x << " " << y;
        const double miss = missInSteps(model, before, {x, y}, distance, found.best());
        worst = std::max(worst, miss);
      }
    }
    // Half a step of each motor, and what rounding to single precision adds.
    EXPECT_LT(worst, std::sqrt(0.5) + 0.03) << "zoom " << zoom;
  }
}

INSTANTIATE_TEST_SUITE_P(Distances, AimingAtPixels, ::testing::Values(1.0, 5.0, 20.0));

}  // namespace
}  // namespace norv::testing
