// Targets on the pan axis and close to it, which a head reaches with any pan or with none.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "calibration_common/ptz_aiming.h"
#include "testing/example_ptz.h"

namespace norv::testing {
namespace {

using namespace calibration;
using Eigen::Vector2d;
using Eigen::Vector3d;

/// The example with another highest tilt.
PTZCameraParameters tiltedUpTo(int max_tilt) {
  PTZCameraParameters params = examplePtz();
  params.mutable_pan_tilt()->set_max_tilt(max_tilt);
  return params;
}

PTZCameraParameters withoutLeverArms(int max_tilt) {
  PTZCameraParameters params = examplePtz();
  *params.mutable_pan_tilt() = headWithoutLeverArms();
  params.mutable_pan_tilt()->set_max_tilt(max_tilt);
  return params;
}

/// The least miss of the middle over every 20th pan and all tilts around the zenith.
double leastMiss(const PTZCameraParameters& params, const Vector3d& point, int zoom) {
  const PTZCameraModelPtr model = ptzModel(params);
  const auto& head = params.pan_tilt();
  double least = HUGE_VAL;
  for (int pan = head.min_pan(); pan <= head.max_pan(); pan += 20) {
    for (int tilt = 3100; tilt <= std::min(head.max_tilt(), 3180); ++tilt) {
      const PTZCameraModelConfiguration camera(model, pan, tilt, zoom);
      const Vector2d seen = camera.project3dToCamera(point.cast<float>()).cast<double>();
      least = std::min(least, (seen - Vector2d(960, 540)).norm());
    }
  }
  return least;
}

TEST(AimingAxis, ComesAsNearToTheZenithAsItCan) {
  for (const int max_tilt : {3141, 6283}) {
    const PTZCameraParameters params = tiltedUpTo(max_tilt);
    for (const Vector3d& point :
         {Vector3d(0.1, 0, 100), Vector3d(0.1, 0, 5), Vector3d(0.1004, 0.0003, 8)}) {
      for (const int zoom : {0, 5000}) {
        const Aim found = aim(PTZCameraModel(params), {PointTarget{point}, {1234, 0, zoom}});
        ASSERT_FALSE(found.empty()) << max_tilt << " " << point.z();
        const AimPosition& best = found.best();
        EXPECT_LT(best.miss, 1.01 * leastMiss(params, point, zoom) + 0.5)
            << max_tilt << " " << point.transpose() << " " << zoom;
        const PTZCameraModelConfiguration camera(ptzModel(params), best.motors.pan,
                                                 best.motors.tilt, zoom);
        const Vector2d seen = camera.project3dToCamera(point.cast<float>()).cast<double>();
        EXPECT_NEAR((seen - Vector2d(960, 540)).norm(), best.miss, 0.02);
      }
    }
  }
}

TEST(AimingAxis, KeepsThePanWhereEveryOneWillDo) {
  for (const int max_tilt : {3141, 3200}) {
    const PTZCameraModel models[] = {PTZCameraModel(withoutLeverArms(max_tilt)),
                                     PTZCameraModel(tiltedUpTo(max_tilt))};
    for (const int pan : {-5934, -100, 1000, 5934}) {
      AimRequest request = {PointTarget{{0, 0, 5}}, {pan, 0, 0}};
      request.place = AimPlace::kPrincipalPoint;
      EXPECT_EQ(aim(models[0], request).best().motors.pan, pan) << max_tilt;
      request.target = PointTarget{{0.1, 0, 100}};
      EXPECT_EQ(aim(models[1], request).best().motors.pan, pan) << max_tilt;
    }
  }
}

TEST(AimingAxis, GoesToTheNearestEndFromBeyondTheRange) {
  PTZCameraParameters params = withoutLeverArms(3200);
  AimRequest request = {PointTarget{{0, 0, 5}}, {6000, 0, 0}};
  request.place = AimPlace::kPrincipalPoint;
  const auto best = [&](int now) {
    request.now.pan = now;
    return aim(PTZCameraModel(params), request).best();
  };
  EXPECT_EQ(best(6000).motors.pan, 5934);
  EXPECT_EQ(best(-20000).motors.pan, -5934);
  params.mutable_pan_tilt()->set_min_pan(100);
  params.mutable_pan_tilt()->set_max_pan(200);
  EXPECT_EQ(best(0).motors.pan, 100);
  EXPECT_EQ(best(0).pan_bound, MotorBound::kNone);
  EXPECT_EQ(best(1000).motors.pan, 200);
  EXPECT_EQ(best(150).motors.pan, 150);
}

}  // namespace
}  // namespace norv::testing
