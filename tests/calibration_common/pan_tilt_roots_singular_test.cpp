// PanTiltModel::solveAll where there is no single answer: on the axes, out of reach, behind, with
// numbers and poses that make no head.

#include <gtest/gtest.h>

#include <Eigen/Core>
#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "calibration_common/pan_tilt_model.h"
#include "testing/example_ptz.h"
#include "testing/pointing_chain.h"
#include "testing/random_head.h"
#include "testing/roots_by_grid.h"
#include "testing/solver_outcome.h"

namespace norv::calibration {
namespace {

using Eigen::Vector2d;
using Eigen::Vector3d;
using testing::angleBetween;
using testing::GridSearch;
using testing::headModel;
using testing::headWithGap;
using testing::headWithoutLeverArms;
using testing::kRadians;
using testing::PointingChain;
using testing::PointingQuestion;
using testing::randomPose;
using testing::RootTally;
using testing::uniform;

const Vector2d kOpticalAxis(0, 0);

double missAt(const PanTiltModel& head, double pan, double tilt, const Vector3d& world) {
  return testing::missOf(PointingChain(head).inCamera({pan, tilt}, world), kOpticalAxis);
}

// --------------------------------------------------------------------------------- the pan axis

TEST(PanTiltSingular, PointOnThePanAxisIsSeenAtEveryPan) {
  const PanTiltModel head = headModel(headWithoutLeverArms());
  for (const double height : {1e-3, 2.0, 1e4, -2.0}) {
    const Vector3d world(0, 0, height);
    const PanTiltRoots roots = head.solveAll(world, kOpticalAxis);
    EXPECT_EQ(roots.reach, PanTiltReach::kAnyPan);
    ASSERT_EQ(roots.size(), 1U);
    EXPECT_EQ(roots[0].pan, 0);
    EXPECT_DOUBLE_EQ(roots[0].tilt, std::copysign(90 * kRadians, height));
    EXPECT_DOUBLE_EQ(roots[0].range, std::abs(height));
    EXPECT_GT(roots[0].sensitivity, 1e12);
    for (int degrees = -180; degrees < 180; degrees += 10) {
      EXPECT_LT(missAt(head, degrees * kRadians, roots[0].tilt, world), 1e-15);
    }
  }
}

TEST(PanTiltSingular, TheCallerChoosesThePan) {
  const PanTiltModel head = headModel(headWithoutLeverArms());
  PanTiltSearch search;
  for (const double pan : {-3.0, 0.4, 3.0, 100.0, -180 * kRadians}) {
    search.free_pan = pan;
    const PanTiltRoots roots = head.solveAll({0, 0, 2}, kOpticalAxis, search);
    ASSERT_EQ(roots.size(), 1U);
    EXPECT_LT(angleBetween(roots[0].pan, pan), 1e-14);
    EXPECT_GT(roots[0].pan, -180 * kRadians);
    EXPECT_LE(roots[0].pan, 180 * kRadians);
  }
}

TEST(PanTiltSingular, NearThePanAxisThePanIsThatOfThePoint) {
  const PanTiltModel head = headModel(headWithoutLeverArms());
  const double azimuth = 0.7;
  for (int power = -3; power >= -15; --power) {
    const double offset = std::pow(10, power);
    const Vector3d world(offset * std::cos(azimuth), offset * std::sin(azimuth), 2);
    const PanTiltRoots roots = head.solveAll(world, kOpticalAxis);
    if (roots.reach == PanTiltReach::kAnyPan) {
      // Only what rounding of the lengths puts there.
      EXPECT_LT(offset, 1e-11);
      ASSERT_EQ(roots.size(), 1U);
    } else {
      EXPECT_EQ(roots.reach, PanTiltReach::kReached) << power;
      ASSERT_EQ(roots.size(), 2U) << power;
      for (const PanTiltRoot& root : roots) {
        EXPECT_LT(std::min(angleBetween(root.pan, -azimuth),
                           angleBetween(root.pan, 180 * kRadians - azimuth)),
                  1e-15 + 2e-15 / offset)
            << power;
      }
    }
    for (const PanTiltRoot& root : roots) {
      EXPECT_LT(missAt(head, root.pan, root.tilt, world), 1e-11) << power;
    }
  }
}

TEST(PanTiltSingular, NearThePanAxisOfAnyHeadIsSolvedOrComeNear) {
  // Axes that meet and are square but for the rounding of poses to single precision, 6e-8: less
  // than the tolerance.
  std::mt19937_64 random(71);
  for (int i = 0; i < 5000; ++i) {
    const PanTiltModel head = headModel(
        testing::makeHead({uniform(&random, -3, 3), uniform(&random, -1, 1), 1, 0}, &random));
    const Eigen::Matrix4d base_to_pan = head.getBaseToPan().transform.cast<double>();
    const double offset = std::pow(10, uniform(&random, -16, -2));
    const double azimuth = uniform(&random, -3, 3);
    const Eigen::Vector4d in_pan(offset * std::cos(azimuth), offset * std::sin(azimuth),
                                 uniform(&random, 0.5, 5), 1);
    const Vector3d world = (base_to_pan.inverse() * in_pan).head<3>();
    const PanTiltRoots roots = head.solveAll(world, kOpticalAxis);
    EXPECT_FALSE(roots.empty()) << i << " " << offset;
    for (const PanTiltRoot& root : roots) {
      EXPECT_LT(missAt(head, root.pan, root.tilt, world), 1e-6) << i << " " << offset;
    }
  }
}

TEST(PanTiltSingular, OpticalAxisThatPassesThePanAxisMissesWhatIsOnIt) {
  // By 2 mm, seen from 2 m: 0.001 rad, whatever the pan.
  const PanTiltModel head = headModel(headWithGap(0.002));
  PanTiltSearch search;
  for (const double offset : {0.0, 1e-15, 1e-9, 1e-4, 0.0019}) {
    const Vector3d world(offset, 0, 2);
    const PanTiltRoots none = head.solveAll(world, kOpticalAxis, search);
    EXPECT_EQ(none.reach, PanTiltReach::kOutOfReach) << offset;
    EXPECT_TRUE(none.empty());
  }
  EXPECT_EQ(head.solveAll({0.0021, 0, 2}, kOpticalAxis).reach, PanTiltReach::kReached);
  search.tolerance = 0.00101;
  const PanTiltRoots near = head.solveAll({0, 0, 2}, kOpticalAxis, search);
  EXPECT_EQ(near.reach, PanTiltReach::kAnyPan);
  ASSERT_EQ(near.size(), 1U);
  EXPECT_NEAR(near[0].miss, 0.001, 1e-8);
  search.tolerance = 0.00099;
  EXPECT_TRUE(head.solveAll({0, 0, 2}, kOpticalAxis, search).empty());
}

TEST(PanTiltSingular, MoreToleranceLosesNothing) {
  std::mt19937_64 random(72);
  int gained = 0;
  for (int i = 0; i < 5000; ++i) {
    const PointingQuestion question = testing::randomQuestion(&random);
    PanTiltSearch search;
    search.tolerance = 0;
    const std::size_t exact = question.head.solveAll(question.world, question.dev, search).size();
    search.tolerance = 0.02;
    const PanTiltRoots wide = question.head.solveAll(question.world, question.dev, search);
    EXPECT_GE(wide.size(), exact) << i;
    for (const PanTiltRoot& root : wide) EXPECT_LE(root.miss, 0.02);
    gained += wide.size() > exact ? 1 : 0;
  }
  // Measured 46.
  EXPECT_GT(gained, 10);
}

// -------------------------------------------------------------------------------- the tilt axis

/// A camera on the tilt axis that looks along it, from 3 m behind the joint; the tilt axis passes
/// the pan axis at 0.25 m, and is level.
PanTiltModel headThatLooksAlongItsTiltAxis() {
  PanTiltSystemParameters params = headWithoutLeverArms();
  params.mutable_pan_to_tilt()->set_a(3, -250);
  testing::storePose({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 3000}, params.mutable_tilt_to_camera());
  return headModel(params);
}

TEST(PanTiltSingular, PointOnTheTiltAxisIsSeenAtEveryTilt) {
  const PanTiltModel head = headThatLooksAlongItsTiltAxis();
  const Vector3d world(1, 0, 0);
  PanTiltSearch search;
  for (const double tilt : {0.0, 0.7, -2.0, 9.0}) {
    search.free_tilt = tilt;
    const PanTiltRoots roots = head.solveAll(world, kOpticalAxis, search);
    EXPECT_EQ(roots.reach, PanTiltReach::kAnyTilt) << tilt;
    // cos pan = 0.25.
    ASSERT_EQ(roots.size(), 2U) << tilt;
    for (const PanTiltRoot& root : roots) {
      EXPECT_NEAR(std::abs(root.pan), std::acos(0.25), 1e-11);
      EXPECT_LT(angleBetween(root.tilt, tilt), 1e-14);
      for (int degrees = -180; degrees < 180; degrees += 10) {
        EXPECT_LT(missAt(head, root.pan, degrees * kRadians, world), 1e-11);
      }
    }
  }
}

TEST(PanTiltSingular, PointBesideTheTiltAxisOfARayOnItIsOutOfReach) {
  EXPECT_EQ(headThatLooksAlongItsTiltAxis().solveAll({1, 0, 0.01}, kOpticalAxis).reach,
            PanTiltReach::kOutOfReach);
}

TEST(PanTiltSingular, PointNearTheTiltAxisOfARayOnItIsComeNearAtEveryTilt) {
  // 1e-5 m above the axis, 3 m + sin(acos 0.25) from the camera.
  const PanTiltModel head = headThatLooksAlongItsTiltAxis();
  const double range = 3 + std::sqrt(1 - 0.25 * 0.25);
  PanTiltSearch search;
  search.tolerance = 1e-4;
  search.free_tilt = 0.7;
  for (const double x : {0.0, 1e-290, 1e-161}) {
    const PanTiltRoots roots = head.solveAll({1, 0, 1e-5}, {x, 0}, search);
    ASSERT_FALSE(roots.empty()) << x;
    double nearest = 1;
    for (const PanTiltRoot& root : roots) {
      EXPECT_EQ(root.tilt, 0.7) << x;
      EXPECT_NEAR(root.miss, missAt(head, root.pan, root.tilt, {1, 0, 1e-5}), 1e-12) << x;
      nearest = std::min(nearest, root.miss);
    }
    EXPECT_NEAR(nearest, 1e-5 / range, 1e-9) << x;
  }
}

TEST(PanTiltSingular, BothAxesAtOnce) {
  // The point where all axes meet is the optical centre itself: there is no direction to it.
  const PanTiltModel head = headModel(headWithoutLeverArms());
  for (const double offset : {0.0, 1e-320, 1e-300}) {
    const PanTiltRoots roots = head.solveAll({offset, 0, 0}, kOpticalAxis);
    EXPECT_LE(roots.size(), 2U);
    for (const PanTiltRoot& root : roots) {
      EXPECT_TRUE(std::isfinite(root.pan));
      EXPECT_TRUE(std::isfinite(root.tilt));
    }
  }
  EXPECT_TRUE(head.solveAll({0, 0, 0}, kOpticalAxis).empty());
}

// ------------------------------------------------------------------------- out of reach and behind

TEST(PanTiltSingular, WhatIsOutOfReachIsSoAtAllAngles) {
  // Arms of up to 2 m and points within them.
  std::mt19937_64 random(73);
  GridSearch grid(180);
  int count = 0;
  for (int i = 0; i < 1500; ++i) {
    PointingQuestion question = testing::randomQuestion(&random);
    const Eigen::Matrix4d base_to_pan = question.head.getBaseToPan().transform.cast<double>();
    const Eigen::Vector4d in_pan = randomPose(0.5, &random).col(3);
    question.world = (base_to_pan.inverse() * in_pan).head<3>();
    const PanTiltRoots roots = question.head.solveAll(question.world, question.dev);
    if (!roots.empty()) continue;
    EXPECT_TRUE(grid.search(question).empty()) << i;
    EXPECT_GT(grid.smallestMiss(), 0.99e-6) << i;
    ++count;
  }
  // Measured 941.
  EXPECT_GT(count, 500);
}

TEST(PanTiltSingular, WhatIsBehindIsToldFromWhatIsNowhere) {
  // The camera 1 m ahead of the joints. What is nearer than that lies behind it.
  PanTiltSystemParameters params = headWithoutLeverArms();
  params.mutable_tilt_to_camera()->set_a(11, -1000);
  const PanTiltModel head = headModel(params);
  EXPECT_EQ(head.solveAll({0.5, 0.5, 0.5}, kOpticalAxis).reach, PanTiltReach::kBehind);
  EXPECT_EQ(head.solveAll({0.6, 0.6, 0.6}, kOpticalAxis).reach, PanTiltReach::kReached);
  params.mutable_tilt_to_camera()->set_a(3, 900);
  EXPECT_EQ(headModel(params).solveAll({0.5, 0.5, 0.5}, kOpticalAxis).reach,
            PanTiltReach::kOutOfReach);
}

// ------------------------------------------------------------------------------------ odd heads

TEST(PanTiltSingular, ParallelAxes) {
  std::mt19937_64 random(74);
  for (const double angle : {0.0, 1e-7, 180 * kRadians}) {
    PanTiltSystemParameters params = testing::randomHead(&random);
    Eigen::Matrix4d turn = randomPose(0.1, &random);
    turn.topLeftCorner<3, 3>() =
        (Eigen::AngleAxisd(0.4, Vector3d::UnitZ()) * Eigen::AngleAxisd(angle, Vector3d::UnitX()))
            .matrix();
    testing::storePose(turn, params.mutable_pan_to_tilt());
    const PanTiltRoots roots = headModel(params).solveAll({3, 1, 2}, kOpticalAxis);
    EXPECT_EQ(roots.reach, PanTiltReach::kParallelAxes) << angle;
    EXPECT_TRUE(roots.empty());
  }
}

TEST(PanTiltSingular, NearlyParallelAxesAreSolved) {
  std::mt19937_64 random(75);
  GridSearch grid(180);
  RootTally tally;
  for (int i = 0; i < 300; ++i) {
    PanTiltSystemParameters params = testing::randomHead(&random);
    Eigen::Matrix4d turn = randomPose(0.5, &random);
    const double angle = std::pow(10, uniform(&random, -2, 0));
    turn.topLeftCorner<3, 3>() = Eigen::AngleAxisd(angle, Vector3d::UnitX()).matrix();
    testing::storePose(turn, params.mutable_pan_to_tilt());
    PointingQuestion question = testing::randomQuestion(&random);
    question.head = headModel(params);
    testing::compareWithGrid(question, &grid, &tally);
  }
  EXPECT_EQ(tally.missed, 0);
  EXPECT_EQ(tally.wrong, 0);
}

TEST(PanTiltSingular, PosesThatScaleAndShear) {
  std::mt19937_64 random(76);
  GridSearch grid(72);
  RootTally tally;
  for (int i = 0; i < 5000; ++i) {
    PanTiltSystemParameters params;
    for (CameraExtrinsics* pose : {params.mutable_base_to_pan(), params.mutable_pan_to_tilt(),
                                   params.mutable_tilt_to_camera()}) {
      Eigen::Matrix4d m = Eigen::Matrix4d::Identity();
      for (int k = 0; k < 12; ++k) m(k / 4, k % 4) = uniform(&random, -1, 1);
      testing::storePose(m, pose);
    }
    PointingQuestion question = testing::randomQuestion(&random);
    question.head = headModel(params);
    testing::compareWithGrid(question, &grid, &tally);
  }
  EXPECT_EQ(tally.missed, 0);
  EXPECT_EQ(tally.wrong, 0);
}

TEST(PanTiltSingular, SingularPoses) {
  const Vector3d world(2, 1, 0.5);
  // Nothing is seen by a camera whose pose is flat.
  PanTiltSystemParameters params = testing::exampleHead();
  testing::storePose({1, 0, 0, 0, 0, 1, 0, 0, 1, 1, 0, 0}, params.mutable_tilt_to_camera());
  EXPECT_EQ(headModel(params).solveAll(world, kOpticalAxis).reach, PanTiltReach::kNotFinite);
  // A flat base or tilt joint is a map like any other.
  GridSearch grid(180);
  RootTally tally;
  for (const bool is_base : {true, false}) {
    params = testing::exampleHead();
    testing::storePose({1, 0, 0, 100, 0, 1, 0, 50, 1, 1, 0, 20},
                       is_base ? params.mutable_base_to_pan() : params.mutable_pan_to_tilt());
    testing::compareWithGrid({headModel(params), world, kOpticalAxis}, &grid, &tally);
  }
  EXPECT_EQ(tally.missed, 0);
  EXPECT_EQ(tally.wrong, 0);
  params = testing::exampleHead();
  testing::storePose({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, params.mutable_pan_to_tilt());
  EXPECT_TRUE(headModel(params).solveAll(world, kOpticalAxis).empty());
}

TEST(PanTiltSingular, ModelThatWasNotLoaded) {
  const PanTiltRoots roots = PanTiltModel().solveAll({1, 2, 3}, kOpticalAxis);
  EXPECT_EQ(roots.reach, PanTiltReach::kNotFinite);
  EXPECT_TRUE(roots.empty());
}

TEST(PanTiltSingular, NumbersThatAreNotFinite) {
  const PanTiltModel head = headModel(testing::exampleHead());
  const double inf = std::numeric_limits<double>::infinity();
  for (const double bad : {inf, -inf, std::numeric_limits<double>::quiet_NaN()}) {
    for (int i = 0; i < 5; ++i) {
      Vector3d world(1, 2, 3);
      Vector2d dev(0.1, 0.2);
      (i < 3 ? world[i] : dev[i - 3]) = bad;
      const PanTiltRoots roots = head.solveAll(world, dev);
      EXPECT_EQ(roots.reach, PanTiltReach::kNotFinite) << i << " " << bad;
      EXPECT_TRUE(roots.empty());
    }
  }
  PanTiltSystemParameters params = testing::exampleHead();
  params.mutable_pan_to_tilt()->set_a(5, inf);
  EXPECT_TRUE(headModel(params).solveAll({1, 2, 3}, kOpticalAxis).empty());
}

TEST(PanTiltSingular, OptionsThatAreNotFinite) {
  const PanTiltModel head = headModel(headWithoutLeverArms());
  const double nan = std::numeric_limits<double>::quiet_NaN();
  PanTiltSearch search;
  search.tolerance = search.free_pan = search.free_tilt = nan;
  EXPECT_EQ(head.solveAll({1, 2, 3}, kOpticalAxis, search).size(), 2U);
  EXPECT_TRUE(head.solveAll({0, 0, 3}, kOpticalAxis, search).empty());
}

TEST(PanTiltSingular, LargestAndSmallestNumbers) {
  // Whatever is said to be reached is, by the chain; and nothing crashes.
  std::mt19937_64 random(77);
  int reached = 0;
  for (int i = 0; i < 20000; ++i) {
    const PanTiltModel head = headModel(testing::randomHead(&random));
    const auto any = [&] {
      const double size = std::pow(10, uniform(&random, -320, 308));
      return uniform(&random, -1, 1) < 0 ? -size : size;
    };
    Vector3d world;
    for (double& element : world) element = any();
    Vector2d dev;
    for (double& element : dev) element = any();
    const PanTiltRoots roots = head.solveAll(world, dev);
    for (const PanTiltRoot& root : roots) {
      EXPECT_TRUE(std::isfinite(root.pan) && std::isfinite(root.tilt)) << i;
      EXPECT_GE(root.range, 0) << i;
      ++reached;
      // Where the chain itself overflows in double there is nothing to compare with.
      const Vector3d q = PointingChain(head).inCamera({root.pan, root.tilt}, world);
      const double size = std::max(q.cwiseAbs().maxCoeff(), 1e-300);
      const double longest = PointingChain(head).longest(world);
      if (!(size < 1e150) || !(dev.norm() < 1e100) || !(longest < 1e150)) continue;
      EXPECT_LT(testing::missOf(q / size, dev), 1e-6 + 1e-13 * longest / q.norm()) << i;
    }
  }
  // Measured 14,066.
  EXPECT_GT(reached, 1000);
}

}  // namespace
}  // namespace norv::calibration
