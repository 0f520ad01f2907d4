// Which points a pan-tilt-zoom camera can see, against the angles of its motors' limits.

#include <gtest/gtest.h>

#include <Eigen/Geometry>
#include <cmath>
#include <limits>

#include "calibration_common/ptz_coverage.h"
#include "support/logging.h"
#include "testing/allocation_count.h"
#include "testing/example_ptz.h"
#include "testing/seen_directions.h"

namespace norv::calibration {
namespace {

using Eigen::Vector3d;
using testing::angleOf;
using testing::armlessPtz;
using testing::direction;
using testing::examplePtz;
using testing::kPi;
using testing::ptzModel;

/// No log lines, for the length of a scope.
struct ScopedQuiet {
  ScopedQuiet() { setLogLevel(nullptr, 0); }
  ScopedQuiet(const ScopedQuiet&) = delete;
  ScopedQuiet& operator=(const ScopedQuiet&) = delete;
  ~ScopedQuiet() { setLogLevel(nullptr, kLogWarning); }
};

TEST(CanSee, CentredUpToTheLimits) {
  const PTZCameraModelPtr model = ptzModel(armlessPtz());
  const auto centred = [&](double azimuth, double elevation) {
    return canSee(*model, 5 * direction(azimuth, elevation), PtzSight::kCentred);
  };
  // Pan turns to the right, against the azimuth; tilt upwards.
  const double side = angleOf(5934);
  const double down = -angleOf(1047);
  const double up = angleOf(3141);
  EXPECT_TRUE(centred(0, 0));
  EXPECT_TRUE(centred(side - 1e-6, 0));
  EXPECT_FALSE(centred(side + 1e-6, 0));
  EXPECT_TRUE(centred(-side + 1e-6, 0));
  EXPECT_FALSE(centred(-side - 1e-6, 0));
  EXPECT_TRUE(centred(1, down + 1e-6));
  EXPECT_FALSE(centred(1, down - 1e-6));
  EXPECT_TRUE(centred(1, up - 1e-6));
  EXPECT_FALSE(centred(1, up + 1e-6));
  EXPECT_FALSE(centred(kPi, 0));
  EXPECT_FALSE(centred(0, kPi / 2));
}

TEST(CanSee, InThePictureUpToItsBorder) {
  const PTZCameraModelPtr model = ptzModel(armlessPtz());
  const auto seen = [&](double azimuth, double elevation) {
    return canSee(*model, 5 * direction(azimuth, elevation));
  };
  // A pinhole with 1500 pixels of focal length and its axis through the middle of 1920 x 1080.
  const double down = -angleOf(1047) - std::atan(540.0 / 1500);
  EXPECT_TRUE(seen(1, down + 1e-6));
  EXPECT_FALSE(seen(1, down - 1e-6));
  EXPECT_TRUE(seen(0, kPi / 2));
  // Half the picture's width is 32.6 degrees, which with 170 is all around.
  EXPECT_TRUE(seen(kPi, 0));
  EXPECT_FALSE(seen(kPi, -kPi / 2));
}

TEST(CanSee, InThePictureBesideTheEndOfPan) {
  PTZCameraParameters ptz = armlessPtz();
  ptz.mutable_pan_tilt()->set_min_pan(-1000);
  ptz.mutable_pan_tilt()->set_max_pan(2000);
  const PTZCameraModelPtr model = ptzModel(ptz);
  // At the end of pan the picture's side is 32.6 degrees on, at the level of the horizon by the
  // tilt that looks along it: tan of the angle is 960 / 1500.
  const double left = angleOf(1000) + std::atan(960.0 / 1500);
  const double right = -angleOf(2000) - std::atan(960.0 / 1500);
  EXPECT_TRUE(canSee(*model, 7 * direction(left - 1e-6, 0)));
  EXPECT_FALSE(canSee(*model, 7 * direction(left + 1e-6, 0)));
  EXPECT_TRUE(canSee(*model, 7 * direction(right + 1e-6, 0)));
  EXPECT_FALSE(canSee(*model, 7 * direction(right - 1e-6, 0)));
  // In the corner, with tilt at its end, too: of the ray that the corner's pixel has there.
  const double tilt = -angleOf(1047);
  const Vector3d ahead = direction(angleOf(1000), tilt);
  const Vector3d leftwards = direction(angleOf(1000) + kPi / 2, 0);
  const Vector3d corner = 1500 * ahead + 960 * leftwards - 540 * ahead.cross(leftwards);
  EXPECT_LT(corner.normalized().z(), std::sin(tilt));
  EXPECT_TRUE(canSee(*model, corner + 1e-3 * ahead.cross(leftwards)));
  EXPECT_FALSE(canSee(*model, corner - 1e-3 * ahead.cross(leftwards)));
}

TEST(CanSee, InTheDistortedPicture) {
  // Barrel: at the left border, on the row of the principal point, is the ray whose x/z is -0.8.
  PTZCameraParameters ptz = armlessPtz();
  for (PTZIntrinsicsItem& sample : *ptz.mutable_intrinsics()->mutable_samples()) {
    sample.set_k1(-0.08);
    sample.set_k4(0.1);
    sample.set_cx(1500 * 0.8 * (1 - 0.08 * 0.64) / (1 + 0.1 * 0.64));
  }
  ptz.mutable_pan_tilt()->set_min_pan(-1000);
  const PTZCameraModelPtr model = ptzModel(ptz);
  const double left = angleOf(1000) + std::atan(0.8);
  EXPECT_TRUE(canSee(*model, 7 * direction(left - 1e-6, 0)));
  EXPECT_FALSE(canSee(*model, 7 * direction(left + 1e-6, 0)));
}

TEST(CanSee, InThePictureOfTheShortestZoomOfTheRange) {
  PTZCameraParameters ptz = armlessPtz();
  ptz.mutable_intrinsics()->set_min_zoom(2000);
  const PTZCameraModelPtr model = ptzModel(ptz);
  const double focal_length = ptz.intrinsics().samples(2).focal_length();
  const double down = -angleOf(1047) - std::atan(540 / focal_length);
  EXPECT_TRUE(canSee(*model, 5 * direction(1, down + 1e-6)));
  EXPECT_FALSE(canSee(*model, 5 * direction(1, down - 1e-6)));
  ptz.mutable_intrinsics()->set_max_zoom(1999);
  EXPECT_FALSE(canSee(*ptzModel(ptz), {5, 0, 0}));
}

// The zoom that shows most is where the focal length is shortest: at an end of the range, or
// within.
TEST(CanSee, InTheWidestPictureWhicheverWayTheZoomGoes) {
  PTZCameraParameters ptz = armlessPtz();
  const auto reach = [&] {
    const PTZCameraModelPtr model = ptzModel(ptz);
    double seen = 0;
    double hidden = -kPi / 2;
    for (int i = 0; i < 40; ++i) {
      const double middle = 0.5 * (seen + hidden);
      (canSee(*model, 5 * direction(1, middle)) ? seen : hidden) = middle;
    }
    return seen;
  };
  PTZIntrinsicsTable* lens = ptz.mutable_intrinsics();
  const auto set_focal_lengths = [&](auto of) {
    for (int i = 0; i < 12; ++i) lens->mutable_samples(i)->set_focal_length(of(i));
  };
  // The same samples at falling zoom positions, counted down and up. The range ends a step before
  // the last sample, which then is the wide one: 1/1000 of the way to 2023.9 pixels.
  const double widest = -angleOf(1047) - std::atan(540.0 / 1500);
  EXPECT_NEAR(reach(), widest, 1e-8);
  lens->set_zoom_start(11000);
  lens->set_zoom_interval(-1000);
  for (int i = 0; i < 12; ++i) lens->mutable_samples(i)->set_zoom(11000 - 1000 * i);
  EXPECT_NEAR(reach(), widest, 1e-8);
  *lens = testing::pinholeLens();
  set_focal_lengths([](int i) { return 1500 * std::pow(20, (11 - i) / 10.0); });
  const double step_before = 1500 + 1e-3 * 1500 * (std::pow(20, 0.1) - 1);
  EXPECT_NEAR(reach(), -angleOf(1047) - std::atan(540 / step_before), 1e-7);
  // At a sample within the range.
  set_focal_lengths([](int i) { return 1000 + 200 * std::abs(i - 4); });
  EXPECT_NEAR(reach(), -angleOf(1047) - std::atan(540.0 / 1000), 1e-8);
}

TEST(CanSee, MotorsWithoutLimitsAndThoseThatStandStill) {
  PTZCameraParameters ptz = armlessPtz();
  PanTiltSystemParameters* head = ptz.mutable_pan_tilt();
  head->clear_min_pan();
  head->clear_max_pan();
  EXPECT_TRUE(canSee(*ptzModel(ptz), {-5, 0, 0}, PtzSight::kCentred));
  head->set_pan_scale(0);
  EXPECT_TRUE(canSee(*ptzModel(ptz), {5, 0, 2}, PtzSight::kCentred));
  EXPECT_FALSE(canSee(*ptzModel(ptz), {5, 0.1, 2}, PtzSight::kCentred));
  // Of limits that contradict each other the upper one holds.
  head->set_pan_scale(0.0005F);
  head->set_min_pan(1000);
  head->set_max_pan(-1000);
  EXPECT_TRUE(canSee(*ptzModel(ptz), direction(angleOf(1000), 0), PtzSight::kCentred));
  EXPECT_FALSE(canSee(*ptzModel(ptz), direction(-angleOf(1000), 0), PtzSight::kCentred));
  head->set_tilt_scale(std::numeric_limits<float>::infinity());
  EXPECT_FALSE(canSee(*ptzModel(ptz), {5, 0, 0}, PtzSight::kCentred));
}

TEST(CanSee, NeverWithoutACameraAPointOrAPicture) {
  const ScopedQuiet quiet;
  const PTZCameraModelPtr model = ptzModel(armlessPtz());
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_FALSE(canSee(*model, {5, nan, 0}));
  EXPECT_FALSE(canSee(*model, {std::numeric_limits<double>::infinity(), 0, 0}));
  EXPECT_FALSE(canSee(*ptzModel(PTZCameraParameters()), {5, 0, 0}, PtzSight::kCentred));
  EXPECT_TRUE(coverage(*ptzModel(PTZCameraParameters()), 5).spans.empty());
  PTZCameraParameters blind = armlessPtz();
  blind.mutable_intrinsics()->clear_image_width();
  EXPECT_FALSE(canSee(*ptzModel(blind), {5, 0, 0}));
  EXPECT_TRUE(canSee(*ptzModel(blind), {5, 0, 0}, PtzSight::kCentred));
  PTZCameraParameters one_sample = armlessPtz();
  one_sample.mutable_intrinsics()->mutable_samples()->DeleteSubrange(1, 11);
  EXPECT_FALSE(canSee(*ptzModel(one_sample), {5, 0, 0}));
}

TEST(CanSee, AllocatesNothing) {
  const PTZCameraModelPtr model = ptzModel(examplePtz());
  int seen = 0;
  const int before = testing::allocationCount();
  for (const PtzSight sight : {PtzSight::kCentred, PtzSight::kInPicture}) {
    seen += canSee(*model, {5, 1, 2}, sight) ? 1 : 0;
    seen += canSee(*model, {-5, 0, 2}, sight) ? 1 : 0;
    seen += canSee(*model, {0, 0, -5}, sight) ? 1 : 0;
  }
  EXPECT_EQ(testing::allocationCount(), before);
  EXPECT_EQ(seen, 3);  // the second one is beyond the end of pan, and only in the picture
}

}  // namespace
}  // namespace norv::calibration
