// A target that circles the robot is followed without a jump, and not lost where it can be seen.

#include <gtest/gtest.h>

#include <Eigen/Geometry>
#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "calibration_common/ptz_aiming.h"
#include "testing/example_ptz.h"

namespace norv::testing {
namespace {

using namespace calibration;
using Eigen::Vector2d;
using Eigen::Vector3d;

constexpr int kFrames = 10000;
constexpr int kZoom = 2500;

/// Twenty rounds at 0.5 to 20 m and back, up and down.
Vector3d targetOf(int frame) {
  const double t = static_cast<double>(frame) / kFrames;
  const double round = 2 * M_PI * 20 * t;
  const double distance = 0.5 * std::pow(40, 0.5 - 0.5 * std::cos(2 * M_PI * 2 * t));
  const double height = 1.2 + 0.3 * distance * std::sin(2 * M_PI * 7.3 * t);
  return {distance * std::cos(round), distance * std::sin(round), height};
}

AimRequest requestFor(const Vector3d& point, const MotorPositions& now) {
  return {PointTarget{point}, now};
}

/// Pixels of a step.
double stepSize(const PTZCameraModelPtr& model) {
  return 0.0005 *
         static_cast<double>(PTZCameraModelConfiguration(model, 0, 0, kZoom).getIntrinsics()(0, 0));
}

/// The least distance, in steps of the motors, of the point from the ray of the picture's middle
/// over the motors' whole range: a grid of 40 steps, then finer ones around its best places.
class GridSearch {
 public:
  GridSearch(const PTZCameraModelPtr& model, const Vector3d& point)
      : model_(model), point_(point.cast<float>()) {
    const PTZCameraModelConfiguration camera(model, 0, 0, kZoom);
    const Vector2_f ray = camera.rectifyPoint({0.5F, 0.5F});
    ray_ = Vector3_f(ray.x(), ray.y(), 1).normalized();
  }

  double leastMiss() const {
    int best[] = {0, 0};
    double least = search(0, 0, 40, 200, best);
    for (const int step : {10, 3, 1}) least = search(best[0], best[1], step, 8, best);
    return least;
  }

 private:
  double search(int pan, int tilt, int step, int reach, int* best) const {
    double least = HUGE_VAL;
    for (int i = -reach; i <= reach; ++i) {
      for (int j = -reach; j <= reach; ++j) {
        const int p = std::clamp(pan + i * step, -5934, 5934);
        const int t = std::clamp(tilt + j * step, -1047, 3141);
        const double miss = missAt(p, t);
        if (miss >= least) continue;
        least = miss;
        best[0] = p;
        best[1] = t;
      }
    }
    return least;
  }

  double missAt(int pan, int tilt) const {
    const Eigen::Vector4f in_camera =
        model_->getPanTiltModel()
            .getFullTransform(static_cast<float>(pan), static_cast<float>(tilt))
            .transform *
        point_.homogeneous();
    const Vector3_f seen = in_camera.head<3>();
    return static_cast<double>(std::atan2(seen.cross(ray_).norm(), seen.dot(ray_))) / 0.0005;
  }

  PTZCameraModelPtr model_;
  Vector3_f point_;
  Vector3_f ray_;
};

TEST(AimingLoop, FollowsATargetThatCirclesTheRobotWithoutLimits) {
  PTZCameraParameters params = examplePtz();
  params.mutable_pan_tilt()->clear_min_pan();
  params.mutable_pan_tilt()->clear_max_pan();
  const PTZCameraModelPtr model = ptzModel(params);
  const double step = stepSize(model);
  MotorPositions now = {0, 0, kZoom};
  int farthest = 0;
  for (int frame = 0; frame < kFrames; ++frame) {
    const Aim found = aim(*model, requestFor(targetOf(frame), now));
    ASSERT_FALSE(found.empty()) << frame;
    const AimPosition& best = found.best();
    ASSERT_FALSE(best.isLimited()) << frame;
    // Seldom three quarters of a step: the motors' steps are not square to each other everywhere.
    ASSERT_LT(best.miss, 0.8 * step) << frame;
    // 25 steps a frame on its way round; half a metre from the robot, where the pan axis is 0.1 m
    // off, a quarter more, and the heights.
    if (frame > 0) {
      ASSERT_LT(std::abs(best.pan_travel), 60) << frame;
      ASSERT_LT(std::abs(best.tilt_travel), 60) << frame;
    }
    now = best.motors;
    farthest = std::max(farthest, std::abs(now.pan));
  }
  EXPECT_GT(farthest, 19 * 12566) << "twenty turns, followed all the way";
}

TEST(AimingLoop, JumpsOnlyWhereALimitForcesItTo) {
  const PTZCameraModelPtr model = ptzModel(examplePtz());
  const double step = stepSize(model);
  MotorPositions now = {0, 0, kZoom};
  int jumps = 0;
  int limited = 0;
  int lost = 0;
  for (int frame = 0; frame < kFrames; ++frame) {
    const Vector3d point = targetOf(frame);
    const Aim found = aim(*model, requestFor(point, now));
    const bool centred = !found.empty() && !found.best().isLimited();
    ASSERT_TRUE(!centred || found.best().miss < 0.8 * step) << frame;
    if (!centred && frame % 20 == 0) {
      ASSERT_GT(GridSearch(model, point).leastMiss(), 0.5) << frame;
    }
    lost += found.empty() ? 1 : 0;
    limited += !found.empty() && !centred ? 1 : 0;
    if (found.empty()) continue;
    const AimPosition& best = found.best();
    if (frame > 0 && std::abs(best.pan_travel) > 60) {
      // From one end of the range to the other, which is 11868 steps away.
      EXPECT_GT(std::abs(best.pan_travel), 10000) << frame;
      ++jumps;
    }
    now = best.motors;
  }
  EXPECT_EQ(lost, 0);
  // Behind the head, 698 of a turn's 12566 steps.
  EXPECT_GT(limited, 300);
  EXPECT_LT(limited, 900);
  EXPECT_EQ(jumps, 20);
}

}  // namespace
}  // namespace norv::testing
