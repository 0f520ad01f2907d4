// A framed box lies within its share of the picture, and with one more step of the zoom it does
// not.

#include <gtest/gtest.h>

#include <Eigen/Geometry>
#include <algorithm>
#include <array>
#include <cmath>
#include <random>

#include "calibration_common/camera_view.h"
#include "calibration_common/ptz_aiming.h"
#include "support/point_projection.h"
#include "testing/example_ptz.h"
#include "testing/random_ptz.h"

namespace norv::testing {
namespace {

using calibration::Aim;
using calibration::AimFailure;
using calibration::AimPosition;
using calibration::AimRequest;
using calibration::AimZoom;
using calibration::BoxTarget;
using calibration::MotorBound;
using calibration::MotorPositions;
using calibration::PTZCameraModelConfiguration;
using calibration::PTZCameraModelPtr;
using calibration::SphereTarget;
using Eigen::Vector2d;
using Eigen::Vector3d;

using Corners = std::array<Vector3d, 4>;

/// What is seen at the corners of the box, in the world.
Corners cornersOf(const PTZCameraModelPtr& model, const MotorPositions& now, const BoxTarget& box) {
  const PTZCameraModelConfiguration camera(model, now.pan, now.tilt, now.zoom);
  const Eigen::Matrix4d world_from_camera = camera.getCameraTransform().inverse.cast<double>();
  const Vector2d pixels[] = {box.corner,
                             {box.opposite.x(), box.corner.y()},
                             box.opposite,
                             {box.corner.x(), box.opposite.y()}};
  Corners corners;
  for (std::size_t i = 0; i < corners.size(); ++i) {
    Vector2d ray;
    calibration::rectifyPixel(camera.view()->model(), pixels[i], &ray);
    const Vector3d direction =
        world_from_camera.topLeftCorner<3, 3>() * ray.homogeneous().normalized();
    corners[i] = world_from_camera.topRightCorner<3, 1>() + box.distance * direction.normalized();
  }
  return corners;
}

/// By how many pixels the corners leave the middle `share` of the picture; not positive where they
/// all lie in it, infinite where one is not seen.
double excessAt(const PTZCameraModelPtr& model, const MotorPositions& at, const Corners& corners,
                double share) {
  const PTZCameraModelConfiguration camera(model, at.pan, at.tilt, at.zoom);
  const Eigen::Matrix4d camera_from_world = camera.getCameraTransform().transform.cast<double>();
  const calibration::CameraModel lens = camera.view()->model();
  const Vector2d half(0.5 * lens.width, 0.5 * lens.height);
  double excess = -1e9;
  for (const Vector3d& corner : corners) {
    const Vector3d point = (camera_from_world * corner.homogeneous()).head<3>();
    Vector2d pixel;
    if (!hasAnswer(calibration::projectPoint(lens, point, &pixel))) return HUGE_VAL;
    excess = std::max(excess, ((pixel - half).cwiseAbs() - share * half).maxCoeff());
  }
  return excess;
}

struct BoxCase {
  PTZCameraModelPtr model;
  AimRequest request;
  BoxTarget box;
};

BoxCase randomBox(std::mt19937_64* random) {
  const calibration::PTZCameraParameters params = randomPtz(random);
  const double width = params.intrinsics().image_width();
  const double height = params.intrinsics().image_height();
  const PTZCameraModelPtr model = ptzModel(params);
  const calibration::ZoomRange zooms = zoomRange(*model);
  const MotorPositions now = {static_cast<int>(uniform(random, -2000, 2000)),
                              static_cast<int>(uniform(random, -2000, 2000)),
                              static_cast<int>(uniform(random, zooms.lowest, zooms.highest))};
  const auto pixel = [&] {
    const double x = uniform(random, 0, width);
    return Vector2d(x, uniform(random, 0, height));
  };
  BoxTarget box = {pixel(), pixel(), std::exp(uniform(random, std::log(0.5), std::log(20)))};
  AimRequest request = {box, now};
  request.zoom = AimZoom::kFill;
  request.zoom_value = uniform(random, 0.2, 1);
  return {model, request, box};
}

TEST(AimingToFill, HoldsABoxThatOneMoreStepOfTheZoomLosesWithTenThousandCameras) {
  std::mt19937_64 random(20);
  // The camera's own functions judge, and rectify to 1e-9 pixels for every 1000 of focal length.
  constexpr double kRounding = 1e-4;
  int count = 0;
  int at_the_long_end = 0;
  int too_large = 0;
  for (int i = 0; i < 10000; ++i) {
    const BoxCase c = randomBox(&random);
    const double share = c.request.zoom_value;
    const Aim found = aim(*c.model, c.request);
    if (found.empty()) {
      // Heads whose axes are far from square to each other leave a part of the world out.
      ASSERT_TRUE(found.failure == AimFailure::kOutOfReach || found.failure == AimFailure::kBehind);
      continue;
    }
    const AimPosition& best = found.best();
    const Corners corners = cornersOf(c.model, c.request.now, c.box);
    ++count;
    if (best.zoom_bound == MotorBound::kLowest) {
      EXPECT_GT(excessAt(c.model, best.motors, corners, share), -kRounding) << i;
      ++too_large;
      continue;
    }
    EXPECT_LT(excessAt(c.model, best.motors, corners, share), kRounding) << i;
    EXPECT_TRUE(best.is_inside) << i;
    if (best.zoom_bound == MotorBound::kHighest) {
      EXPECT_EQ(best.motors.zoom, zoomRange(*c.model).highest) << i;
      ++at_the_long_end;
      continue;
    }
    const int next = best.motors.zoom + 1;
    ASSERT_LE(next, zoomRange(*c.model).highest) << i;
    EXPECT_GT(excessAt(c.model, {best.motors.pan, best.motors.tilt, next}, corners, share),
              -kRounding)
        << i;
  }
  EXPECT_GT(count, 8500);
  EXPECT_GT(count - at_the_long_end - too_large, 4000);
  EXPECT_GT(too_large, 500);
}

AimRequest fillWith(const calibration::AimTarget& target, double share) {
  AimRequest request = {target, {500, 200, 2500}};
  request.zoom = AimZoom::kFill;
  request.zoom_value = share;
  return request;
}

TEST(AimingToFill, TakesTheLongestLensOfATableThatFalls) {
  calibration::PTZCameraParameters params = examplePtz();
  auto* samples = params.mutable_intrinsics()->mutable_samples();
  std::reverse(samples->begin(), samples->end());
  for (int i = 0; i < samples->size(); ++i) (*samples)[i].set_zoom(1000 * i);
  const PTZCameraModelPtr model = ptzModel(params);
  const BoxTarget box = {{900, 500}, {1000, 560}, 8};
  AimRequest request = fillWith(box, 0.8);
  request.now.zoom = 9500;
  const Aim found = aim(*model, request);
  ASSERT_FALSE(found.empty());
  const AimPosition& best = found.best();
  EXPECT_EQ(best.zoom_bound, MotorBound::kNone);
  const Corners corners = cornersOf(model, request.now, box);
  EXPECT_LT(excessAt(model, best.motors, corners, 0.8), 0);
  EXPECT_GT(
      excessAt(model, {best.motors.pan, best.motors.tilt, best.motors.zoom - 1}, corners, 0.8), 0);
}

TEST(AimingToFill, SaysWhichEndOfTheZoomBindsIt) {
  const PTZCameraModelPtr model = ptzModel(examplePtz());
  const Aim small = aim(*model, fillWith(SphereTarget{{20, 1, 2}, 0.001}, 1));
  ASSERT_FALSE(small.empty());
  EXPECT_EQ(small.best().motors.zoom, zoomRange(*model).highest);
  EXPECT_EQ(small.best().zoom_bound, MotorBound::kHighest);
  EXPECT_TRUE(small.best().is_inside);
  const Aim large = aim(*model, fillWith(SphereTarget{{3, 1, 2}, 1.5}, 1));
  ASSERT_FALSE(large.empty());
  EXPECT_EQ(large.best().motors.zoom, zoomRange(*model).lowest);
  EXPECT_EQ(large.best().zoom_bound, MotorBound::kLowest);
  EXPECT_FALSE(large.best().is_inside);
}

/// The outline of a sphere, by many of the rays that touch it.
TEST(AimingToFill, CoversTheOutlineOfASphere) {
  const PTZCameraModelPtr model = ptzModel(examplePtz());
  const Vector3d centre(4, 1.5, 2.2);
  constexpr double kRadius = 0.35;
  const Aim found = aim(*model, fillWith(SphereTarget{centre, kRadius}, 0.9));
  ASSERT_FALSE(found.empty());
  const AimPosition& best = found.best();
  const PTZCameraModelConfiguration camera(model, best.motors.pan, best.motors.tilt,
                                           best.motors.zoom);
  const calibration::CameraModel lens = camera.view()->model();
  const Eigen::Matrix4d pose = camera.getCameraTransform().transform.cast<double>();
  const Vector3d in_camera = (pose * centre.homogeneous()).head<3>();
  const double distance = in_camera.norm();
  const Vector3d side = in_camera.unitOrthogonal();
  Vector2d low(1e9, 1e9);
  Vector2d high(-1e9, -1e9);
  constexpr int kCount = 100000;
  for (int i = 0; i < kCount; ++i) {
    const Eigen::AngleAxisd turn(i * 2 * M_PI / kCount, in_camera.normalized());
    // The touching points' own triangle: the radius is square to the ray.
    const double along = 1 - kRadius * kRadius / (distance * distance);
    const Vector3d touching = along * in_camera + kRadius * std::sqrt(along) * (turn * side);
    Vector2d pixel;
    ASSERT_TRUE(hasAnswer(calibration::projectPoint(lens, touching, &pixel)));
    low = low.cwiseMin(pixel);
    high = high.cwiseMax(pixel);
  }
  // 5e-7 pixels is what 100000 samples leave of a circle of 500 pixels.
  EXPECT_LT((best.low - low).norm(), 1e-5);
  EXPECT_LT((best.high - high).norm(), 1e-5);
  EXPECT_LT((best.lands - 0.5 * (low + high)).norm(), 1e-5);
  EXPECT_NEAR(best.miss, (best.lands - Vector2d(960, 540)).norm(), 1e-12);
}

}  // namespace
}  // namespace norv::testing
