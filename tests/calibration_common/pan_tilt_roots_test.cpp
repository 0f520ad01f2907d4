// PanTiltModel::solveAll: what a root says, and heads whose answers are known by algebra.

#include "calibration_common/pan_tilt_roots.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "calibration_common/pan_tilt_model.h"
#include "testing/allocation_count.h"
#include "testing/example_ptz.h"
#include "testing/log_capture.h"
#include "testing/pointing_chain.h"
#include "testing/random_head.h"

namespace norv::calibration {
namespace {

using Eigen::Vector2d;
using Eigen::Vector3d;
using testing::angleBetween;
using testing::exampleHead;
using testing::headModel;
using testing::headWithoutLeverArms;
using testing::kRadians;
using testing::PointingChain;
using testing::PointingQuestion;
using testing::randomQuestion;
using testing::uniform;

const Vector2d kOpticalAxis(0, 0);

bool has(const PanTiltRoots& roots, double pan, double tilt, double error) {
  return std::any_of(roots.begin(), roots.end(), [&](const PanTiltRoot& root) {
    return angleBetween(root.pan, pan) < error && angleBetween(root.tilt, tilt) < error;
  });
}

// ----------------------------------------------------------------------------- heads by algebra

TEST(PanTiltRoots, HeadWithoutLeverArmsHasTwoPairsForEveryDirection) {
  // The optical axis at zero is x, pan turns it clockwise and tilt upwards: azimuth a at pan -a and
  // elevation e, or the other way about, over the top.
  const PanTiltModel head = headModel(headWithoutLeverArms());
  for (const double azimuth : {-170.0, -60.0, 0.0, 45.0, 120.0}) {
    for (const double elevation : {-80.0, -10.0, 0.0, 30.0, 85.0}) {
      const double a = azimuth * kRadians;
      const double e = elevation * kRadians;
      const Vector3d world(3 * std::cos(e) * std::cos(a), 3 * std::cos(e) * std::sin(a),
                           3 * std::sin(e));
      const PanTiltRoots roots = head.solveAll(world, kOpticalAxis);
      EXPECT_EQ(roots.reach, PanTiltReach::kReached);
      ASSERT_EQ(roots.size(), 2U) << azimuth << " " << elevation;
      // Measured 4e-15, at 85 degrees.
      EXPECT_TRUE(has(roots, -a, e, 2e-14)) << azimuth << " " << elevation;
      EXPECT_TRUE(has(roots, 180 * kRadians - a, 180 * kRadians - e, 2e-14));
      for (const PanTiltRoot& root : roots) EXPECT_NEAR(root.range, 3, 1e-14);
    }
  }
}

TEST(PanTiltRoots, LeverArmAlongTheOpticalAxisShortensTheRange) {
  // The camera 0.5 m ahead of the joints, in the tilt frame along the ray.
  PanTiltSystemParameters params = headWithoutLeverArms();
  params.mutable_tilt_to_camera()->set_a(11, -500);
  const PanTiltModel head = headModel(params);
  const PanTiltRoots roots = head.solveAll({2, 0, 0}, kOpticalAxis);
  ASSERT_EQ(roots.size(), 2U);
  for (const PanTiltRoot& root : roots) EXPECT_NEAR(root.range, 1.5, 1e-15);
  // What is nearer than the camera stands lies behind it.
  EXPECT_EQ(head.solveAll({0.25, 0, 0}, kOpticalAxis).reach, PanTiltReach::kBehind);
}

TEST(PanTiltRoots, ArmAcrossTheOpticalAxisTurnsByTheAngleUnderWhichItIsSeen) {
  // The optical axis passes the pan axis 0.3 m beside it: sin of the change of pan is 0.3 / 2.
  PanTiltSystemParameters params = headWithoutLeverArms();
  params.mutable_tilt_to_camera()->set_a(3, 300);
  const PanTiltModel head = headModel(params);
  const PanTiltRoots roots = head.solveAll({2, 0, 0}, kOpticalAxis);
  ASSERT_EQ(roots.size(), 2U);
  const double change = std::asin(0.15);
  // The millimetres are stored in single precision as metres: good to 1.2e-8 of 0.3 m.
  for (const PanTiltRoot& root : roots) {
    EXPECT_NEAR(std::abs(std::sin(root.pan)), std::sin(change), 1e-8);
    EXPECT_NEAR(root.range, 2 * std::cos(change), 1e-8);
  }
  // Within 0.3 m of the pan axis the ray passes every point.
  EXPECT_EQ(head.solveAll({0.299, 0, 1}, kOpticalAxis).reach, PanTiltReach::kOutOfReach);
  EXPECT_EQ(head.solveAll({0.301, 0, 1}, kOpticalAxis).reach, PanTiltReach::kReached);
}

TEST(PanTiltRoots, FourPairsOfACameraThatLooksAlongTheTiltAxis) {
  // The camera stands 3 m back on a parallel of the tilt axis, 0.5 m from it. The tilt joint, 0.2 m
  // from the pan axis, has the point 0.5 m away where (1.5 cos b - 0.2)^2 + 0.3^2 = 0.5^2, b being
  // the azimuth of the point in the pan frame after the turn.
  PanTiltSystemParameters params = headWithoutLeverArms();
  params.mutable_pan_to_tilt()->set_a(3, -200);
  testing::storePose({1, 0, 0, -500, 0, 1, 0, 0, 0, 0, 1, 3000}, params.mutable_tilt_to_camera());
  const double azimuth = 0.4;
  const Vector3d world(1.5 * std::cos(azimuth), 1.5 * std::sin(azimuth), 0.3);
  const PanTiltRoots roots = headModel(params).solveAll(world, kOpticalAxis);
  ASSERT_EQ(roots.size(), 4U);
  // Measured 2e-8: poses are stored in single precision.
  for (const double side : {0.4, -0.4}) {
    const double turned = std::acos((0.2 + side) / 1.5);
    const double tilt = std::atan2(0.3, side);
    EXPECT_TRUE(has(roots, turned - azimuth, tilt, 1e-7)) << side;
    EXPECT_TRUE(has(roots, -turned - azimuth, tilt, 1e-7)) << side;
  }
}

// ------------------------------------------------------------------------------ what a root says

TEST(PanTiltRoots, AreSortedAndWithinOneTurn) {
  std::mt19937_64 random(41);
  for (int i = 0; i < 20000; ++i) {
    const PointingQuestion question = randomQuestion(&random);
    const PanTiltRoots roots = question.head.solveAll(question.world, question.dev);
    EXPECT_EQ(roots.empty(), roots.reach != PanTiltReach::kReached);
    for (std::size_t k = 0; k < roots.size(); ++k) {
      for (const double angle : {roots[k].pan, roots[k].tilt}) {
        EXPECT_GT(angle, -180 * kRadians);
        EXPECT_LE(angle, 180 * kRadians);
      }
      if (k == 0) continue;
      EXPECT_TRUE(roots[k - 1].pan < roots[k].pan ||
                  (roots[k - 1].pan == roots[k].pan && roots[k - 1].tilt < roots[k].tilt));
    }
  }
}

TEST(PanTiltRoots, HalfTurnsArePositive) {
  // Straight behind: pan is pi, and over the top tilt is.
  const PanTiltRoots roots = headModel(headWithoutLeverArms()).solveAll({-3, 0, 0}, kOpticalAxis);
  ASSERT_EQ(roots.size(), 2U);
  EXPECT_TRUE(has(roots, 180 * kRadians, 0, 1e-14));
  EXPECT_TRUE(has(roots, 0, 180 * kRadians, 1e-14));
  for (const PanTiltRoot& root : roots) {
    EXPECT_GT(root.pan, -180 * kRadians);
    EXPECT_GT(root.tilt, -180 * kRadians);
  }
}

TEST(PanTiltRoots, MissAndRangeAreThoseOfTheChain) {
  std::mt19937_64 random(42);
  double worst_miss = 0;
  double worst_range = 0;
  double worst_told = 0;
  for (int i = 0; i < 50000; ++i) {
    const PointingQuestion question = randomQuestion(&random);
    const PointingChain chain(question.head);
    for (const PanTiltRoot& root : question.head.solveAll(question.world, question.dev)) {
      const Vector3d q = chain.inCamera({root.pan, root.tilt}, question.world);
      const double rounding = std::max(1.0, chain.longest(question.world) / q.norm());
      const double miss = testing::missOf(q, question.dev);
      worst_told = std::max(worst_told, root.miss / rounding);
      worst_miss = std::max(worst_miss, std::abs(miss - root.miss) / rounding);
      worst_range = std::max(worst_range, std::abs(q.norm() - root.range) / (rounding * q.norm()));
    }
  }
  // Measured 9e-15, 6e-16 and 9e-16; rounding is relative to the longest of the lengths.
  EXPECT_LT(worst_told, 1e-12);
  EXPECT_LT(worst_miss, 1e-14);
  EXPECT_LT(worst_range, 1e-14);
}

/// The largest change of the angles per radian of the ray, by differences of the ray's direction at
/// the root: the inverse of the smallest singular value of what the angles do to the ray.
double sensitivityOf(const PointingQuestion& question, const PanTiltRoot& root) {
  const PointingChain chain(question.head);
  const auto direction = [&](double pan, double tilt) {
    return chain.inCamera({pan, tilt}, question.world).normalized().eval();
  };
  constexpr double h = 1e-5;
  Eigen::Matrix<double, 3, 2> slopes;
  slopes << direction(root.pan + h, root.tilt) - direction(root.pan - h, root.tilt),
      direction(root.pan, root.tilt + h) - direction(root.pan, root.tilt - h);
  const Eigen::Matrix2d normal = slopes.transpose() * slopes / (4 * h * h);
  const double half = 0.5 * normal.trace();
  const double other = std::hypot(0.5 * (normal(0, 0) - normal(1, 1)), normal(0, 1));
  return std::sqrt((half + other) / normal.determinant());
}

TEST(PanTiltRoots, SensitivityAgainstDifferences) {
  std::mt19937_64 random(43);
  int count = 0;
  for (int i = 0; i < 20000; ++i) {
    const PointingQuestion question = randomQuestion(&random);
    for (const PanTiltRoot& root : question.head.solveAll(question.world, question.dev)) {
      const double expected = sensitivityOf(question, root);
      // Differences of what is near singular, or near the camera, are not good.
      if (expected > 100 || root.range < 0.01) continue;
      // Measured 3e-7.
      EXPECT_NEAR(root.sensitivity, expected, 3e-6 * expected) << i;
      ++count;
    }
  }
  EXPECT_GT(count, 15000);
}

TEST(PanTiltRoots, SensitivityOfAHeadByAlgebra) {
  // Pan moves a ray at elevation e by cos e only.
  const PanTiltModel head = headModel(headWithoutLeverArms());
  for (const double elevation : {0.0, 30.0, 60.0, 89.0}) {
    const double e = elevation * kRadians;
    for (const PanTiltRoot& root :
         head.solveAll({5 * std::cos(e), 0, 5 * std::sin(e)}, kOpticalAxis)) {
      EXPECT_NEAR(root.sensitivity * std::cos(e), 1, 1e-12) << elevation;
    }
  }
}

// ------------------------------------------------------------------------------------- its costs

TEST(PanTiltRoots, LogsNothingAndAllocatesNothing) {
  std::mt19937_64 random(44);
  std::vector<PointingQuestion> questions;
  for (int i = 0; i < 1000; ++i) questions.push_back(randomQuestion(&random));
  testing::ScopedLogCapture capture;
  std::size_t count = 0;
  const int before = testing::allocationCount();
  for (const PointingQuestion& question : questions) {
    count += question.head.solveAll(question.world, question.dev).size();
    count += question.head.solveAll(question.world * std::nan(""), question.dev).size();
  }
  const int after = testing::allocationCount();
  EXPECT_EQ(after - before, 0);
  EXPECT_GT(count, 500U);
  EXPECT_TRUE(capture.take().empty());
}

}  // namespace
}  // namespace norv::calibration
