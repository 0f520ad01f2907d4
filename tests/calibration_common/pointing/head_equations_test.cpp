// The equations of a head without its tilt angle, against the chain multiplied out.

#include "calibration_common/pointing/head_equations.h"

#include <gtest/gtest.h>

#include <Eigen/Core>
#include <Eigen/LU>
#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

#include "testing/pointing_chain.h"
#include "testing/random_head.h"

namespace norv::internal {
namespace {

using Eigen::Vector2d;
using Eigen::Vector3d;
using testing::Angles;
using testing::kRadians;
using testing::PointingChain;
using testing::PointingQuestion;
using testing::uniform;

HeadEquations equationsOf(const PointingQuestion& question) {
  const auto& head = question.head;
  return makeHeadEquations({head.getBaseToPan(), head.getPanToTilt(), head.getTiltToCamera()},
                           question.world, question.dev);
}

/// A question, with a pair of angles and a range, metres, that answer it.
struct Answered {
  PointingQuestion question;
  Angles at;
  double range;
};

Answered randomAnswered(std::mt19937_64* random) {
  Answered one{testing::randomQuestion(random), {}, 0};
  one.at = {uniform(random, -180, 180) * kRadians, uniform(random, -180, 180) * kRadians};
  one.range = std::pow(10, uniform(random, -1, 1.5));
  const Vector3d ray = one.question.dev.homogeneous().normalized();
  one.question.world = PointingChain(one.question.head).inBase(one.at, one.range * ray);
  return one;
}

TEST(HeadEquations, AreTheChainBeforeTheTilt) {
  std::mt19937_64 random(81);
  for (int i = 0; i < 5000; ++i) {
    const PointingQuestion question = testing::randomQuestion(&random);
    const PointingChain chain(question.head);
    const HeadEquations equations = equationsOf(question);
    const Angles at = {uniform(&random, -3, 3), uniform(&random, -3, 3)};
    const Vector3d y = equations.pointAt(std::cos(at.pan), std::sin(at.pan));
    const Vector3d turned = PointingChain::turn(at.tilt, y.homogeneous()).head<3>();
    const Vector3d q = equations.unit * (equations.camera_from_tilt * (turned - equations.origin));
    // Measured 2.3e-14 m, of 50 m.
    EXPECT_LT((q - chain.inCamera(at, question.world)).norm(),
              1e-14 * (chain.longest(question.world) + equations.unit));
  }
}

TEST(HeadEquations, LengthsAreInUnitsOfTheLargest) {
  std::mt19937_64 random(82);
  for (int i = 0; i < 1000; ++i) {
    const HeadEquations equations = equationsOf(testing::randomQuestion(&random));
    EXPECT_NEAR(
        std::max(
            {equations.along_cos.cwiseAbs().maxCoeff(), equations.along_sin.cwiseAbs().maxCoeff(),
             equations.constant.cwiseAbs().maxCoeff(), equations.origin.cwiseAbs().maxCoeff()}),
        1, 1e-15);
  }
}

TEST(HeadEquations, HoldAtAnAnswer) {
  std::mt19937_64 random(83);
  for (int i = 0; i < 5000; ++i) {
    const Answered one = randomAnswered(&random);
    const HeadEquations e = equationsOf(one.question);
    const Vector3d y = e.pointAt(std::cos(one.at.pan), std::sin(one.at.pan));
    const Vector3d on_ray = e.origin + one.range / e.unit * e.direction;
    // Measured 4e-15.
    EXPECT_NEAR(y.z(), on_ray.z(), 2e-14) << i;
    EXPECT_NEAR(y.head<2>().norm(), on_ray.head<2>().norm(), 2e-14) << i;
  }
}

TEST(HeadEquations, ConicIsZeroAtAnAnswer) {
  std::mt19937_64 random(84);
  for (int i = 0; i < 5000; ++i) {
    const Answered one = randomAnswered(&random);
    const Conic conic = eliminateRange(equationsOf(one.question));
    const double x = std::cos(one.at.pan);
    const double y = std::sin(one.at.pan);
    const double value = conic.xx * x * x + conic.xy * x * y + conic.yy * y * y + conic.x * x +
                         conic.y * y + conic.one;
    // Lengths, and with them the coefficients, are of the order of one. Measured 6e-15.
    EXPECT_NEAR(value, 0, 5e-14) << i;
  }
}

TEST(HeadEquations, RangesOfAnAnswerHoldIt) {
  std::mt19937_64 random(85);
  for (int i = 0; i < 5000; ++i) {
    const Answered one = randomAnswered(&random);
    const HeadEquations equations = equationsOf(one.question);
    const Ranges ranges = findRanges(equations, std::cos(one.at.pan), std::sin(one.at.pan));
    double nearest = std::numeric_limits<double>::infinity();
    for (int k = 0; k < ranges.count; ++k) {
      const double range = ranges.values[static_cast<std::size_t>(k)];
      nearest = std::min(nearest, std::abs(range - one.range / equations.unit));
    }
    // Two ranges that are nearly one are good to the root of the rounding. Measured 1e-13.
    EXPECT_LT(nearest, 1e-7) << i;
  }
}

TEST(HeadEquations, RefinementFindsAnAnswerNearby) {
  std::mt19937_64 random(86);
  int ended = 0;
  int found = 0;
  for (int i = 0; i < 5000; ++i) {
    const Answered one = randomAnswered(&random);
    const HeadEquations equations = equationsOf(one.question);
    const double pan = one.at.pan + uniform(&random, -1e-3, 1e-3);
    PanAndRange at = {std::cos(pan), std::sin(pan),
                      one.range / equations.unit + uniform(&random, -1e-3, 1e-3)};
    if (!refine(equations, &at)) continue;
    ++ended;
    EXPECT_NEAR(std::hypot(at.cos_pan, at.sin_pan), 1, 1e-15);
    // Where it ends is a solution, that one or another.
    const Vector3d y = equations.pointAt(at.cos_pan, at.sin_pan);
    const Vector3d on_ray = equations.origin + at.range * equations.direction;
    EXPECT_NEAR(y.z(), on_ray.z(), 1e-13) << i;
    EXPECT_NEAR(y.head<2>().squaredNorm(), on_ray.head<2>().squaredNorm(), 1e-13) << i;
    const double off =
        std::abs(std::remainder(std::atan2(at.sin_pan, at.cos_pan) - one.at.pan, 360 * kRadians));
    found += off < 1e-9 ? 1 : 0;
  }
  // Measured 5000 and 5000; two answers may lie closer together.
  EXPECT_GT(ended, 4900);
  EXPECT_GT(found, 4900);
}

TEST(HeadEquations, AreNotFiniteForAFlatCamera) {
  PointingQuestion question;
  question.world = {1, 2, 3};
  question.dev = {0, 0};
  const HeadEquations equations = equationsOf(question);
  EXPECT_FALSE(equations.direction.allFinite() && equations.origin.allFinite());
}

}  // namespace
}  // namespace norv::internal
