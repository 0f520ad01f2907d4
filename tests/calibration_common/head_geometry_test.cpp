#include "calibration_common/head_geometry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "calibration_common/pan_tilt_model.h"
#include "support/logging.h"
#include "testing/example_ptz.h"
#include "testing/random_head.h"

namespace norv::calibration {
namespace {

using testing::exampleHead;
using testing::kRadians;
using testing::randomHead;
using testing::readPose;
using testing::stepsOf;
using testing::turnZ;
using testing::uniform;
using testing::UprightHead;

constexpr double kPi = 3.14159265358979323846;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// The largest difference between the poses of two heads over random motor positions, metres for
/// the translation.
double largestDifference(const PanTiltSystemParameters& a, const PanTiltSystemParameters& b,
                         std::mt19937_64* random) {
  double largest = 0;
  for (int i = 0; i < 20; ++i) {
    const auto steps = stepsOf(a, uniform(random, -3, 3), uniform(random, -3, 3));
    const Eigen::Matrix4d difference =
        testing::cameraFromBaseAtSteps(a, steps) - testing::cameraFromBaseAtSteps(b, steps);
    largest = std::max(largest, difference.cwiseAbs().maxCoeff());
  }
  return largest;
}

/// An upright head that is built so, motors at zero by exact scales.
PanTiltSystemParameters headOf(double azimuth, double elevation, std::mt19937_64* random) {
  PanTiltSystemParameters head =
      testing::makeHead(UprightHead{azimuth, elevation, 1, 0.05}, random);
  head.set_pan_scale(0x1p-11F);
  head.set_tilt_scale(0x1p-11F);
  head.set_pan_offset(0);
  head.set_tilt_offset(0);
  return head;
}

TEST(HeadGeometry, OfTheExampleHead) {
  const HeadGeometry geometry = describeHead(exampleHead());
  EXPECT_EQ(geometry.azimuth, 0);
  EXPECT_EQ(geometry.elevation, 0);
  // The optical axis, x = 0 of the camera frame, is z = 2 mm of the tilt frame, which is y = 2 mm
  // of the pan frame.
  EXPECT_NEAR(geometry.axis_gap, 0.002, 1e-15);
  EXPECT_EQ(geometry.tilt_axis_error, 0);
  EXPECT_TRUE(azimuthIsSupported(geometry));
  EXPECT_TRUE(elevationIsSupported(geometry));
  EXPECT_TRUE(tiltAxisIsSupported(geometry));
  EXPECT_TRUE(reachesThePanAxis(geometry));
}

TEST(HeadGeometry, OfHeadsThatAreBuiltSo) {
  std::mt19937_64 random(1);
  for (int i = 0; i < 200; ++i) {
    const double azimuth = uniform(&random, -kPi, kPi);
    const double elevation = uniform(&random, -80, 80) * kRadians;
    const HeadGeometry geometry = describeHead(headOf(azimuth, elevation, &random));
    // Measured 2e-16 each.
    EXPECT_NEAR(std::remainder(geometry.azimuth - azimuth, 2 * kPi), 0, 1e-12);
    EXPECT_NEAR(geometry.elevation, elevation, 1e-12);
    EXPECT_NEAR(geometry.tilt_axis_error, 0, 1e-12);
  }
}

TEST(HeadGeometry, GapIsThatOfTheLines) {
  // The optical axis is a line along x at y = -12 mm and z = -7 mm of the pan frame; then it is
  // tilted, which does not move it sideways.
  PanTiltSystemParameters head = exampleHead();
  testing::storePose({1, 0, 0, 0, 0, 0, -1, 0, 0, 1, 0, 0}, head.mutable_pan_to_tilt());
  for (const double elevation : {0.0, 0.4, -1.2}) {
    Eigen::Matrix4d camera_from_tilt;
    camera_from_tilt << 0, 0, 1, 12, 0, -1, 0, 7, 1, 0, 0, 5, 0, 0, 0, 1;
    camera_from_tilt.topRightCorner<3, 1>() /= 1000;
    testing::storePose(camera_from_tilt * turnZ(elevation), head.mutable_tilt_to_camera());
    EXPECT_NEAR(describeHead(head).axis_gap, 0.012, 1e-15) << elevation;
  }
}

TEST(HeadGeometry, AxisAlongThePanAxis) {
  // The optical axis at zero tilt is the pan frame's z axis, 30 mm and 40 mm aside of it.
  PanTiltSystemParameters head = exampleHead();
  testing::storePose({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0}, head.mutable_pan_to_tilt());
  testing::storePose({1, 0, 0, 30, 0, 1, 0, 40, 0, 0, 1, 0}, head.mutable_tilt_to_camera());
  const HeadGeometry geometry = describeHead(head);
  EXPECT_EQ(geometry.elevation, kPi / 2);
  EXPECT_NEAR(geometry.axis_gap, 0.05, 1e-15);
  EXPECT_TRUE(std::isnan(geometry.tilt_axis_error));
  EXPECT_FALSE(elevationIsSupported(geometry));
  EXPECT_FALSE(tiltAxisIsSupported(geometry));
  EXPECT_FALSE(reachesThePanAxis(geometry));
}

TEST(HeadGeometry, WhatIsServed) {
  const auto geometry = [](double azimuth, double elevation, double gap, double tilt_axis) {
    return HeadGeometry{azimuth * kRadians, elevation * kRadians, gap, tilt_axis * kRadians};
  };
  for (const double azimuth : {0.0, 0.04, -0.04, 180.0, -180.0, 179.97}) {
    EXPECT_TRUE(azimuthIsSupported(geometry(azimuth, 0, 0, 0))) << azimuth;
  }
  for (const double azimuth : {0.06, -0.06, 45.0, 90.0, -90.0, 179.9, -179.9}) {
    EXPECT_FALSE(azimuthIsSupported(geometry(azimuth, 0, 0, 0))) << azimuth;
  }
  EXPECT_TRUE(elevationIsSupported(geometry(0, 30, 0, 0)));
  EXPECT_FALSE(elevationIsSupported(geometry(0, 31, 0, 0)));
  EXPECT_FALSE(elevationIsSupported(geometry(0, -1, 0, 0)));
  EXPECT_TRUE(reachesThePanAxis(geometry(0, 0, 0.00316, 0)));
  EXPECT_FALSE(reachesThePanAxis(geometry(0, 0, 0.00317, 0)));
  EXPECT_TRUE(tiltAxisIsSupported(geometry(0, 0, 0, 0.9)));
  EXPECT_FALSE(tiltAxisIsSupported(geometry(0, 0, 0, 1.1)));
  const HeadGeometry unknown = geometry(kNaN, kNaN, kNaN, kNaN);
  EXPECT_FALSE(azimuthIsSupported(unknown));
  EXPECT_FALSE(elevationIsSupported(unknown));
  EXPECT_FALSE(tiltAxisIsSupported(unknown));
  EXPECT_FALSE(reachesThePanAxis(unknown));
}

TEST(HeadGeometry, ElevationsThatAreFound) {
  const auto range = [](double elevation) {
    return findableElevations(HeadGeometry{0, elevation * kRadians, 0, 0});
  };
  EXPECT_EQ(range(0).lowest, -kPi / 2);
  EXPECT_EQ(range(0).highest, kPi / 2);
  // An axis at 45 degrees: the cube of its cosine over its sine is a half.
  EXPECT_NEAR(range(45).lowest, -std::atan(0.5), 1e-15);
  EXPECT_EQ(range(45).highest, kPi / 2);
  EXPECT_NEAR(range(-45).highest, std::atan(0.5), 1e-15);
  EXPECT_EQ(range(-45).lowest, -kPi / 2);
}

TEST(HeadGeometry, MotorsThatTurn) {
  PanTiltSystemParameters head = exampleHead();
  EXPECT_TRUE(motorsTurn(head));
  for (const float scale :
       {0.0F, std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
    head.set_pan_scale(scale);
    EXPECT_FALSE(motorsTurn(head)) << scale;
  }
}

TEST(BetterFrame, OnlyOfHeadsThatNeedOneAndHaveOne) {
  std::mt19937_64 random(7);
  EXPECT_FALSE(findBetterFrame(exampleHead()));
  EXPECT_FALSE(findBetterFrame(headOf(kPi, 20 * kRadians, &random)));
  const auto turned = findBetterFrame(headOf(1, 20 * kRadians, &random));
  ASSERT_TRUE(turned);
  EXPECT_EQ(turned->turn_of_zero, 0);
  EXPECT_NEAR(describeHead(turned->head).elevation, 20 * kRadians, 1e-10);
  const auto raised = findBetterFrame(headOf(0, 60 * kRadians, &random));
  ASSERT_TRUE(raised);
  EXPECT_NEAR(std::abs(raised->turn_of_zero), 60 * kRadians, 1e-12);
  EXPECT_NEAR(describeHead(raised->head).elevation, 0, 1e-10);
  // Twice as large, the poses are no rotations and nothing can be said.
  PanTiltSystemParameters scaled = headOf(1, 0, &random);
  for (double& a : *scaled.mutable_pan_to_tilt()->mutable_a()) a *= 2;
  EXPECT_FALSE(findBetterFrame(scaled));
}

TEST(ReframedHead, PosesOfAnyHeadAreUnchanged) {
  std::mt19937_64 random(2);
  for (int i = 0; i < 200; ++i) {
    const PanTiltSystemParameters head = randomHead(&random);
    const PanTiltSystemParameters reframed = reframeHead(head, 0);
    // Values are stored to 12 decimals. Measured 1.3e-12.
    EXPECT_LT(largestDifference(head, reframed, &random), 1e-10);
    // Measured 7e-12, of a head whose optical axis is nearly upright.
    EXPECT_NEAR(describeHead(reframed).azimuth, 0, 1e-9);
    EXPECT_EQ(reframed.tilt_to_camera().SerializeAsString(),
              head.tilt_to_camera().SerializeAsString());
    EXPECT_EQ(reframed.tilt_offset(), head.tilt_offset());
  }
}

TEST(ReframedHead, ZeroOfTiltCanBeMoved) {
  std::mt19937_64 random(3);
  for (int i = 0; i < 200; ++i) {
    const PanTiltSystemParameters head = randomHead(&random);
    const double tau = uniform(&random, -3, 3);
    const PanTiltSystemParameters reframed = reframeHead(head, tau);
    // The offset is single precision: up to 1.5e4 steps, 5e-4 of a step, of 2e-3 rad at most.
    // Measured 1.4e-7.
    EXPECT_LT(largestDifference(head, reframed, &random), 4e-6);
    EXPECT_NEAR(describeHead(reframed).azimuth, 0, 1e-9);
  }
}

TEST(ReframedHead, WhatElseTheMessageHoldsStays) {
  PanTiltSystemParameters head = exampleHead();
  head.set_home_pan(7);
  head.clear_max_tilt();
  head.set_aux_value_1(0.1F);
  PanTiltSystemParameters reframed = reframeHead(head, 0);
  for (PanTiltSystemParameters* p : {&head, &reframed}) {
    p->clear_base_to_pan();
    p->clear_pan_to_tilt();
  }
  EXPECT_EQ(reframed.SerializeAsString(), head.SerializeAsString());
}

TEST(ReframedHead, OfAQuarterTurnIsWrittenInWholeNumbers) {
  PanTiltSystemParameters head = exampleHead();
  // The example head with Rz(90 deg) in front of its first pose and Rz(-90 deg) behind its second.
  testing::storePose({0, -1, 0, 0, 1, 0, 0, -100, 0, 0, 1, -1200}, head.mutable_base_to_pan());
  testing::storePose({0, 1, 0, -25, 0, 0, -1, 60, -1, 0, 0, 0}, head.mutable_pan_to_tilt());
  EXPECT_NEAR(describeHead(head).azimuth, kPi / 2, 1e-15);
  const PanTiltSystemParameters reframed = reframeHead(head, 0);
  EXPECT_EQ(reframed.SerializeAsString(), exampleHead().SerializeAsString());
}

TEST(ReframedHead, LevelAxis) {
  std::mt19937_64 random(4);
  for (int i = 0; i < 100; ++i) {
    const double elevation = uniform(&random, -90, 90) * kRadians;
    const PanTiltSystemParameters head = headOf(uniform(&random, -3, 3), elevation, &random);
    const double turn = levellingTurn(head);
    EXPECT_NEAR(std::abs(turn), std::abs(elevation), 1e-12);
    const HeadGeometry geometry = describeHead(reframeHead(head, turn));
    // Measured 0: what is left is less than the decimals that are stored.
    EXPECT_NEAR(geometry.elevation, 0, 1e-10);
    EXPECT_NEAR(geometry.azimuth, 0, 1e-10);
  }
}

TEST(ReframedHead, NoLevelAxis) {
  // Pan and tilt axes are parallel, and so is the optical axis.
  PanTiltSystemParameters head = exampleHead();
  testing::storePose({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0}, head.mutable_pan_to_tilt());
  testing::storePose({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0}, head.mutable_tilt_to_camera());
  EXPECT_TRUE(std::isnan(levellingTurn(head)));
}

TEST(BlindCones, OfOrdinaryHeadsAreEmpty) {
  EXPECT_EQ(blindCones(exampleHead()).upper, 0);
  EXPECT_EQ(blindCones(exampleHead()).lower, 0);
  std::mt19937_64 random(8);
  const BlindCones blind = blindCones(headOf(1, 0.4, &random));
  EXPECT_NEAR(blind.upper, 0, 1e-12);
  EXPECT_NEAR(blind.lower, 0, 1e-12);
}

/// The smallest and the largest angle between the optical axis and the pan axis' direction, of the
/// chain with its tilt turned all around.
BlindCones findBlindCones(const PanTiltSystemParameters& head) {
  const Eigen::Vector3d pan_axis = readPose(head.base_to_pan()).row(2).head<3>();
  BlindCones blind = {kPi, kPi};
  for (int i = 0; i < 20000; ++i) {
    const Eigen::Matrix4d pose = testing::cameraFromBase(head, 0.7, 2 * kPi * i / 20000);
    const Eigen::Vector3d optical_axis = pose.row(2).head<3>();
    const double angle = std::acos(optical_axis.dot(pan_axis));
    blind.upper = std::min(blind.upper, angle);
    blind.lower = std::min(blind.lower, kPi - angle);
  }
  return blind;
}

TEST(BlindCones, AreWhereNoTiltBringsTheOpticalAxis) {
  std::mt19937_64 random(9);
  for (int i = 0; i < 20; ++i) {
    const PanTiltSystemParameters head = randomHead(&random);
    const BlindCones found = findBlindCones(head);
    // Tilts 0.0003 rad apart: where the least is 0 the grid misses it by half of that.
    EXPECT_NEAR(blindCones(head).upper, found.upper, 2e-4);
    EXPECT_NEAR(blindCones(head).lower, found.lower, 2e-4);
  }
}

TEST(BlindCones, OfPosesThatLackValuesAreNotNumbers) {
  PanTiltSystemParameters head = exampleHead();
  head.mutable_pan_to_tilt()->clear_a();
  EXPECT_TRUE(std::isnan(blindCones(head).upper));
  EXPECT_TRUE(std::isnan(blindCones(head).lower));
}

/// How many of 200 targets in every direction above -30 degrees a head finds.
int countFound(const PanTiltSystemParameters& params) {
  std::mt19937_64 random(5);
  PanTiltModel head;
  head.readFromPB(params);
  const Eigen::Matrix4d base_from_pan = readPose(params.base_to_pan()).inverse();
  int found = 0;
  for (int i = 0; i < 200; ++i) {
    const double pan = uniform(&random, -170, 170) * kRadians;
    const double elevation = uniform(&random, -30, 80) * kRadians;
    const Eigen::Vector4d in_pan(5 * std::cos(elevation) * std::cos(pan),
                                 5 * std::cos(elevation) * std::sin(pan), 5 * std::sin(elevation),
                                 1);
    const Eigen::Vector4d target = base_from_pan * in_pan;
    float pan_steps = 0;
    float tilt_steps = 0;
    if (!head.computePanTilt(target.head<3>().cast<float>(), {0, 0}, &pan_steps, &tilt_steps)) {
      continue;
    }
    const Eigen::Vector4d seen =
        testing::cameraFromBaseAtSteps(
            params, {static_cast<double>(pan_steps), static_cast<double>(tilt_steps)}) *
        target;
    if (seen.z() > 0 && seen.head<2>().norm() < 1e-3 * seen.z()) ++found;
  }
  return found;
}

TEST(HeadGeometry, OfPosesThatLackValuesIsNotANumber) {
  std::mt19937_64 random(7);
  PanTiltSystemParameters head = headOf(0.3, 0.2, &random);
  head.mutable_tilt_to_camera()->clear_a();
  EXPECT_TRUE(std::isnan(describeHead(head).azimuth));
  EXPECT_TRUE(std::isnan(describeHead(head).elevation));
  EXPECT_TRUE(std::isnan(describeHead(head).axis_gap));
  EXPECT_TRUE(std::isnan(levellingTurn(head)));
  EXPECT_TRUE(std::isnan(reframeHead(head, 0).pan_to_tilt().a(0)));
  EXPECT_FALSE(findBetterFrame(head).has_value());
}

TEST(ReframedHead, IsServed) {
  setLogLevel(nullptr, 0);
  std::mt19937_64 random(6);
  const PanTiltSystemParameters turned = headOf(45 * kRadians, 0.1, &random);
  EXPECT_LT(countFound(turned), 40);  // measured 13
  EXPECT_EQ(countFound(reframeHead(turned, 0)), 200);
  const PanTiltSystemParameters upright = headOf(1, 90 * kRadians, &random);
  EXPECT_LT(countFound(upright), 150);
  EXPECT_EQ(countFound(reframeHead(upright, levellingTurn(upright))), 200);
  setLogLevel(nullptr, kLogWarning);
}

}  // namespace
}  // namespace norv::calibration
