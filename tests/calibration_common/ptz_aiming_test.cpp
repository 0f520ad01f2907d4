// What aiming answers to each kind of request, and why it has no answer.

#include "calibration_common/ptz_aiming.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <vector>

#include "testing/allocation_count.h"
#include "testing/example_ptz.h"
#include "testing/log_capture.h"
#include "testing/ptz_pointing.h"

namespace norv::testing {
namespace {

using namespace calibration;
using Eigen::Vector2d;
using Eigen::Vector3d;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kHuge = std::numeric_limits<double>::infinity();
const Vector3d kPoint = {4, 1, 2};

AimRequest at(const AimTarget& target) { return {target, {500, 200, 2500}}; }
AimRequest atPoint() { return at(PointTarget{kPoint}); }

AimRequest zoomed(AimRequest request, AimZoom zoom, double value) {
  request.zoom = zoom;
  request.zoom_value = value;
  return request;
}

AimFailure failureOf(const PTZCameraParameters& params, const AimRequest& request) {
  const ScopedLogCapture quiet;
  return aim(PTZCameraModel(params), request).failure;
}

/// Where the camera itself sees the point from the position.
Vector2d seenFrom(const PTZCameraModelPtr& model, const MotorPositions& at, const Vector3d& point) {
  const PTZCameraModelConfiguration camera(model, at.pan, at.tilt, at.zoom);
  return camera.project3dToCamera(point.cast<float>()).cast<double>();
}

TEST(Aiming, SaysThatTheModelIsInvalid) {
  const auto expectInvalid = [](const std::function<void(PTZCameraParameters*)>& spoil) {
    PTZCameraParameters params = examplePtz();
    spoil(&params);
    EXPECT_EQ(failureOf(params, atPoint()), AimFailure::kInvalidModel);
  };
  expectInvalid([](auto* p) { p->clear_intrinsics(); });
  expectInvalid([](auto* p) { p->clear_pan_tilt(); });
  expectInvalid([](auto* p) { p->mutable_intrinsics()->clear_image_width(); });
  expectInvalid([](auto* p) { p->mutable_intrinsics()->set_image_height(-1); });
  expectInvalid([](auto* p) { p->mutable_pan_tilt()->set_pan_scale(0); });
  expectInvalid([](auto* p) { p->mutable_pan_tilt()->set_tilt_scale(HUGE_VALF); });
  expectInvalid([](auto* p) { p->mutable_pan_tilt()->set_pan_offset(std::nanf("")); });
  expectInvalid([](auto* p) { p->mutable_pan_tilt()->mutable_pan_to_tilt()->set_a(0, kNaN); });
  // The next number of single precision is 64 steps, 1.8 degrees, farther.
  expectInvalid([](auto* p) { p->mutable_pan_tilt()->set_pan_offset(1e9F); });
}

TEST(Aiming, RefusesRequestsThatMakeNoSense) {
  const double points[] = {1, 2, 3, 4, 5, kNaN};
  AimRequest no_place = atPoint();
  no_place.place = AimPlace::kPixel;
  no_place.pixel = {kNaN, 3};
  AimRequest place_outside = zoomed(at(BoxTarget{{900, 500}, {1000, 600}, 3}), AimZoom::kFill, 0.5);
  place_outside.place = AimPlace::kPixel;
  place_outside.pixel = {-1, 500};
  const AimRequest requests[] = {
      no_place,
      place_outside,
      at(PixelTarget{{kNaN, 3}, 1}),
      at(PixelTarget{{3, 3}, 0}),
      at(PixelTarget{{3, 3}, kHuge}),
      at(PointTarget{{1, kHuge, 2}}),
      at(PointsTarget{{points, 3}, 0}),
      at(PointsTarget{{points, 3}, 2}),
      at(BoxTarget{{1, 2}, {3, 4}, -1}),
      at(BoxTarget{{1, 2}, {3, kNaN}, 1}),
      at(SphereTarget{kPoint, -1}),
      at(SphereTarget{kPoint, kNaN}),
      at(SphereTarget{kPoint, 100}),
      zoomed(atPoint(), AimZoom::kFill, 0.5),
      zoomed(at(PixelTarget{{3, 3}, 1}), AimZoom::kFill, 0.5),
      zoomed(at(PointsTarget{{points, 3}, 1}), AimZoom::kFill, 0.5),
      zoomed(at(SphereTarget{kPoint, 0}), AimZoom::kFill, 0.5),
      zoomed(at(BoxTarget{{800, 500}, {800, 500}, 5}), AimZoom::kFill, 0.5),
      // Around the head itself, where no angles bring its centre into the picture.
      at(SphereTarget{{0.1, 0, 1.26}, 2}),
      zoomed(at(SphereTarget{kPoint, 1}), AimZoom::kFill, 0),
      zoomed(at(SphereTarget{kPoint, 1}), AimZoom::kFill, 1.01),
      zoomed(atPoint(), AimZoom::kFieldOfView, 0),
      zoomed(atPoint(), AimZoom::kFieldOfView, 3.2),
      zoomed(atPoint(), AimZoom::kFocalLength, -1),
      zoomed(atPoint(), AimZoom::kFocalLength, kNaN),
  };
  int i = 0;
  for (const AimRequest& request : requests) {
    EXPECT_EQ(failureOf(examplePtz(), request), AimFailure::kInvalidRequest) << i++;
  }
}

TEST(Aiming, NeedsALensWherePixelsAreSeenFrom) {
  AimRequest request = at(PixelTarget{{960, 540}, 3});
  request.now.zoom = 11000;
  EXPECT_EQ(failureOf(examplePtz(), request), AimFailure::kNoPresentLens);
  request.target = BoxTarget{{960, 540}, {1000, 600}, 3};
  EXPECT_EQ(failureOf(examplePtz(), request), AimFailure::kNoPresentLens);
}

TEST(Aiming, ComesBackFromWhereThereIsNoLens) {
  AimRequest request = atPoint();
  request.now.zoom = 12345;
  const Aim found = aim(*ptzModel(examplePtz()), request);
  ASSERT_FALSE(found.empty());
  EXPECT_EQ(found.best().motors.zoom, 10999);
  EXPECT_EQ(found.best().zoom_bound, MotorBound::kHighest);
  EXPECT_TRUE(found.best().isLimited());
  EXPECT_EQ(found.best().zoom_travel, 10999 - 12345);
}

TEST(Aiming, NeedsRaysForPixelsAndForThePlace) {
  PTZCameraParameters params = examplePtz();
  for (auto& sample : *params.mutable_intrinsics()->mutable_samples()) sample.set_k1(-3);
  AimRequest corner = at(PixelTarget{{0, 0}, 3});
  corner.now.zoom = 6000;
  EXPECT_EQ(failureOf(params, corner), AimFailure::kNone) << "the picture is narrow";
  corner.now.zoom = 0;
  EXPECT_EQ(failureOf(params, corner), AimFailure::kNoRay);
  corner.target = BoxTarget{{0, 0}, {900, 500}, 3};
  EXPECT_EQ(failureOf(params, corner), AimFailure::kNoRay);
  corner.target = PointTarget{kPoint};
  corner.place = AimPlace::kPixel;
  EXPECT_EQ(failureOf(params, corner), AimFailure::kNoRay);
}

TEST(Aiming, NeedsAZoom) {
  PTZCameraParameters params = examplePtz();
  params.mutable_intrinsics()->set_min_zoom(20000);
  EXPECT_EQ(failureOf(params, atPoint()), AimFailure::kNoZoom);
}

TEST(Aiming, TellsWhyNoAnglesBringTheTargetThere) {
  // On the pan axis, which the optical axis passes at 2 mm: farther above the head than it nearly
  // comes to, 4e-2 rad.
  AimRequest on_axis = at(PointTarget{{0.1, 0, 1.34}});
  on_axis.place = AimPlace::kPrincipalPoint;
  EXPECT_EQ(failureOf(examplePtz(), on_axis), AimFailure::kOutOfReach);
  PTZCameraParameters parallel = examplePtz();
  storePose({1, 0, 0, -25, 0, 1, 0, 60, 0, 0, 1, 0},
            parallel.mutable_pan_tilt()->mutable_pan_to_tilt());
  EXPECT_EQ(failureOf(parallel, atPoint()), AimFailure::kParallelAxes);
  PTZCameraParameters tight = examplePtz();
  tight.mutable_pan_tilt()->set_min_pan(-10);
  tight.mutable_pan_tilt()->set_max_pan(10);
  tight.mutable_pan_tilt()->set_max_tilt(100);
  EXPECT_EQ(failureOf(tight, at(PointTarget{{-4, 0.1, 1.2}})), AimFailure::kOutOfSight);
}

/// A head whose tilt axis is 20 degrees from its pan axis sees a cone; its opposite, behind.
TEST(Aiming, TellsThatTheTargetStaysBehind) {
  PTZCameraParameters params = examplePtz();
  auto* head = params.mutable_pan_tilt();
  *head = headWithoutLeverArms();
  const double c = std::cos(20 * kRadians);
  const double s = std::sin(20 * kRadians);
  storePose({1, 0, 0, 0, 0, c, s, 0, 0, -s, c, 0}, head->mutable_pan_to_tilt());
  // The optical axis 10 degrees from the tilt axis.
  const double c1 = std::cos(10 * kRadians);
  const double s1 = std::sin(10 * kRadians);
  storePose({1, 0, 0, 0, 0, c1, s1, 0, 0, -s1, c1, 0}, head->mutable_tilt_to_camera());
  EXPECT_EQ(failureOf(params, at(PointTarget{{0, 1.2, 5}})), AimFailure::kNone);
  EXPECT_EQ(failureOf(params, at(PointTarget{{0, -1.2, -5}})), AimFailure::kBehind);
  EXPECT_EQ(failureOf(params, at(PointTarget{{5, 0, 0}})), AimFailure::kOutOfReach);
}

TEST(Aiming, PutsTheTargetWhereItIsWanted) {
  const PTZCameraModelPtr model = ptzModel(examplePtz());
  AimRequest request = atPoint();
  for (const AimPlace place :
       {AimPlace::kImageMiddle, AimPlace::kPrincipalPoint, AimPlace::kPixel}) {
    request.place = place;
    request.pixel = {300, 900};
    const Aim found = aim(*model, request);
    ASSERT_FALSE(found.empty());
    const AimPosition& best = found.best();
    const PTZCameraModelConfiguration camera(model, best.motors.pan, best.motors.tilt, 2500);
    const Vector2d principal_point = camera.getIntrinsics().topRightCorner<2, 1>().cast<double>();
    const Vector2d wanted = place == AimPlace::kImageMiddle ? Vector2d(960, 540)
                            : place == AimPlace::kPixel     ? Vector2d(300, 900)
                                                            : principal_point;
    EXPECT_EQ(best.wanted, wanted);
    const Vector2d seen = seenFrom(model, best.motors, kPoint);
    EXPECT_LT((best.lands - seen).norm(), 2e-3) << "the point in single precision";
    EXPECT_NEAR(best.miss, (seen - wanted).norm(), 2e-3);
    const double step = 0.0005 * static_cast<double>(camera.getIntrinsics()(0, 0));
    EXPECT_LT(best.miss, std::sqrt(0.5) * 1.1 * step);
    EXPECT_EQ(best.low, best.lands);
    EXPECT_EQ(best.high, best.lands);
    EXPECT_TRUE(best.is_inside);
    EXPECT_TRUE(best.is_upright);
    EXPECT_EQ(best.pan_travel, best.motors.pan - 500);
    EXPECT_EQ(best.tilt_travel, best.motors.tilt - 200);
    EXPECT_EQ(best.zoom_travel, 0);
  }
}

TEST(Aiming, CentresTheRectangleAroundSeveralPoints) {
  const PTZCameraModelPtr model = ptzModel(examplePtz());
  const double points[] = {4, 1, 2, 6, 1.2, 2.2, 5, 0.8, 1.7};
  const Aim found = aim(*model, zoomed(at(PointsTarget{{points, 3}, 3}), AimZoom::kFill, 0.7));
  ASSERT_FALSE(found.empty());
  const AimPosition& best = found.best();
  Vector2d low(1e9, 1e9);
  Vector2d high = -low;
  for (int i = 0; i < 3; ++i) {
    const Vector2d seen = seenFrom(model, best.motors, Vector3d(points + 3 * i));
    low = low.cwiseMin(seen);
    high = high.cwiseMax(seen);
  }
  EXPECT_LT((best.low - low).norm(), 5e-3);
  EXPECT_LT((best.high - high).norm(), 5e-3);
  EXPECT_EQ(best.lands, 0.5 * (best.low + best.high));
  const PTZCameraModelConfiguration camera(model, 0, 0, best.motors.zoom);
  EXPECT_LT(best.miss, 0.75 * 0.0005 * static_cast<double>(camera.getIntrinsics()(0, 0)));
  EXPECT_GE(best.low.x(), 960 - 0.7 * 960);
  EXPECT_LE(best.high.y(), 540 + 0.7 * 540);
}

TEST(Aiming, ChoosesTheZoomOfAFocalLengthOrFieldOfView) {
  const PTZCameraModelPtr model = ptzModel(examplePtz());
  const auto focalLengthAt = [&](int zoom) {
    return static_cast<double>(
        PTZCameraModelConfiguration(model, 0, 0, zoom).getIntrinsics()(0, 0));
  };
  const int by_length =
      aim(*model, zoomed(atPoint(), AimZoom::kFocalLength, 7000)).best().motors.zoom;
  for (const int other : {by_length - 1, by_length + 1}) {
    EXPECT_LE(std::abs(focalLengthAt(by_length) - 7000), std::abs(focalLengthAt(other) - 7000));
  }
  const auto viewAt = [&](int zoom) {
    const PTZCameraModelConfiguration camera(model, 0, 0, zoom);
    const Vector3d left = camera.projectPixelToRay({0, 540}).cast<double>().normalized();
    const Vector3d right = camera.projectPixelToRay({1920, 540}).cast<double>().normalized();
    return std::acos(left.dot(right));
  };
  const int by_view = aim(*model, zoomed(atPoint(), AimZoom::kFieldOfView, 0.4)).best().motors.zoom;
  // A step changes the angle by 1e-4, of which single precision hides 1e-6.
  EXPECT_LT(std::abs(viewAt(by_view) - 0.4), 0.7e-4);
}

TEST(Aiming, SaysThatNoZoomIsLongOrWideEnough) {
  const PTZCameraModelPtr model = ptzModel(examplePtz());
  const auto best = [&](AimZoom zoom, double value) {
    return aim(*model, zoomed(atPoint(), zoom, value)).best();
  };
  EXPECT_EQ(best(AimZoom::kFocalLength, 1e6).zoom_bound, MotorBound::kHighest);
  EXPECT_EQ(best(AimZoom::kFocalLength, 1e6).motors.zoom, 10999);
  EXPECT_EQ(best(AimZoom::kFocalLength, 10).zoom_bound, MotorBound::kLowest);
  EXPECT_EQ(best(AimZoom::kFieldOfView, 1e-3).zoom_bound, MotorBound::kHighest);
  EXPECT_EQ(best(AimZoom::kFieldOfView, 3).zoom_bound, MotorBound::kLowest);
  EXPECT_EQ(best(AimZoom::kFieldOfView, 3).motors.zoom, 0);
  EXPECT_EQ(best(AimZoom::kFocalLength, 1500).zoom_bound, MotorBound::kNone);
}

TEST(Aiming, LogsAndAllocatesNothing) {
  const PTZCameraModelPtr model = ptzModel(examplePtz());
  const double points[] = {4, 1, 2, 6, 1.2, 2.2, 5, 0.8, 1.7};
  const AimRequest requests[] = {
      atPoint(),
      at(PixelTarget{{100, 100}, 7}),
      at(PointTarget{{-5, 0, 1}}),
      zoomed(at(BoxTarget{{100, 100}, {200, 200}, 7}), AimZoom::kFill, 0.5),
      zoomed(at(SphereTarget{kPoint, 0.2}), AimZoom::kFill, 0.5),
      zoomed(at(PointsTarget{{points, 3}, 3}), AimZoom::kFieldOfView, 0.5),
      at(PixelTarget{{kNaN, 100}, 7}),
  };
  ScopedLogCapture capture;
  const int before = allocationCount();
  for (const AimRequest& request : requests) aim(*model, request);
  EXPECT_EQ(allocationCount(), before);
  EXPECT_TRUE(capture.take().empty());
}

}  // namespace
}  // namespace norv::testing
