#include "calibration_common/pointing_residual.h"

#include <gtest/gtest.h>

#include <Eigen/Geometry>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <random>

#include "support/rotation_z.h"
#include "testing/numeric_derivative.h"
#include "testing/random_head.h"

namespace norv::internal {
namespace {

using calibration::PanTiltSystemParameters;
using testing::numericDerivative;
using testing::uniform;
using Derivatives = std::array<double, 2>;

constexpr double kHalfPi = 1.57079632679489661923;

PanTiltDual constant(double value) { return PanTiltDual(value); }

/// Ry(tilt) Rz(pan) as Eigen builds it.
Eigen::Matrix3d referenceRotation(double pan, double tilt) {
  return (Eigen::AngleAxisd(tilt, Eigen::Vector3d::UnitY()) *
          Eigen::AngleAxisd(pan, Eigen::Vector3d::UnitZ()))
      .matrix();
}

TEST(MakePanTiltRotation, ByHand) {
  // A quarter turn of pan takes x to y, which tilt leaves alone; one of tilt takes z to x.
  const Eigen::Matrix3d pan = makePanTiltRotation(kHalfPi, 0);
  EXPECT_LT((pan * Eigen::Vector3d::UnitX() - Eigen::Vector3d::UnitY()).norm(), 1e-15);
  const Eigen::Matrix3d tilt = makePanTiltRotation(0, kHalfPi);
  EXPECT_LT((tilt * Eigen::Vector3d::UnitZ() - Eigen::Vector3d::UnitX()).norm(), 1e-15);
  // Pan comes first: x goes to y and stays there.
  const Eigen::Matrix3d both = makePanTiltRotation(kHalfPi, kHalfPi);
  EXPECT_LT((both * Eigen::Vector3d::UnitX() - Eigen::Vector3d::UnitY()).norm(), 1e-15);
}

TEST(MakePanTiltRotation, IsTheProductOfTheTwo) {
  std::mt19937_64 random(60);
  for (int trial = 0; trial < 1000; ++trial) {
    const double pan = uniform(&random, -7, 7);
    const double tilt = uniform(&random, -7, 7);
    // Measured: 9e-16.
    EXPECT_LT((makePanTiltRotation(pan, tilt) - referenceRotation(pan, tilt)).norm(), 4e-15);
  }
}

TEST(MakePanTiltRotation, TurnsAsRotationZTransfDoes) {
  std::mt19937_64 random(61);
  for (int trial = 0; trial < 200; ++trial) {
    const double angle = uniform(&random, -3, 3);
    const Matrix4x4_f turn = rotationZTransf(static_cast<float>(angle));
    const Eigen::Matrix3d expected = turn.topLeftCorner<3, 3>().cast<double>();
    // Single precision; measured: 2e-7.
    EXPECT_LT((makePanTiltRotation(angle, 0) - expected).norm(), 6e-7);
  }
}

TEST(RotationZTransfAD, ByHand) {
  const auto m = rotationZTransfAD(PanTiltDual(0, {1, 0}));
  for (int row = 0; row < 4; ++row) {
    for (int column = 0; column < 4; ++column) {
      EXPECT_EQ(m(row, column).value, row == column ? 1 : 0);
      const double slope = row == 1 && column == 0 ? 1 : row == 0 && column == 1 ? -1 : 0;
      EXPECT_EQ(m(row, column).derivatives, (Derivatives{slope, 0}));
    }
  }
}

TEST(RotationZTransfAD, ValuesAreThoseOfRotationZTransf) {
  std::mt19937_64 random(62);
  for (int trial = 0; trial < 200; ++trial) {
    const auto angle = static_cast<float>(uniform(&random, -3, 3));
    const auto dual = rotationZTransfAD(constant(static_cast<double>(angle)));
    const Matrix4x4_f single = rotationZTransf(angle);
    for (int i = 0; i < 16; ++i) {
      // Single precision; measured: 3e-8.
      EXPECT_NEAR(dual(i / 4, i % 4).value, static_cast<double>(single(i / 4, i % 4)), 2e-7);
    }
  }
}

TEST(RotationZTransfAD, DerivativesAreDifferences) {
  std::mt19937_64 random(63);
  for (int trial = 0; trial < 200; ++trial) {
    const double angle = uniform(&random, -7, 7);
    const double seed = uniform(&random, -2, 2);
    const auto dual = rotationZTransfAD(PanTiltDual(angle, {seed, 0.5}));
    for (int i = 0; i < 16; ++i) {
      const double slope = numericDerivative(
          [&](double x) { return rotationZTransfAD(constant(x))(i / 4, i % 4).value; }, angle);
      const Derivatives& actual = dual(i / 4, i % 4).derivatives;
      // Measured: 4e-10.
      EXPECT_NEAR(actual[0], seed * slope, 1e-9);
      EXPECT_NEAR(actual[1], 0.5 * slope, 1e-9);
    }
  }
}

/// The problem of a head as it is stored.
PointingProblem makeProblem(const PanTiltSystemParameters& head, const Vector3_f& world,
                            const Vector2_f& dev) {
  PointingProblem problem;
  problem.tilt_to_camera = testing::readPose(head.tilt_to_camera()).cast<float>();
  problem.pan_to_tilt = testing::readPose(head.pan_to_tilt()).cast<float>();
  problem.base_to_pan = testing::readPose(head.base_to_pan()).cast<float>();
  problem.world = world;
  problem.dev = dev;
  problem.point_in_pan = problem.base_to_pan * world.homogeneous();
  return problem;
}

PointingProblem randomProblem(std::mt19937_64* random) {
  const auto coordinate = [&](double reach) {
    return static_cast<float>(uniform(random, -reach, reach));
  };
  const Vector3_f world(coordinate(5), coordinate(5), coordinate(5));
  return makeProblem(testing::randomHead(random), world, {coordinate(1), coordinate(1)});
}

/// The residual in plain doubles, by Eigen.
Eigen::Vector3d reference(const PointingProblem& problem, double pan, double tilt) {
  const Eigen::Vector4d q = problem.tilt_to_camera.cast<double>() * testing::turnZ(tilt) *
                            problem.pan_to_tilt.cast<double>() * testing::turnZ(pan) *
                            problem.point_in_pan.cast<double>();
  const Eigen::Vector3d e = problem.dev.cast<double>().homogeneous();
  return e.cross(q.head<3>());
}

Eigen::Vector3d values(const std::array<PanTiltDual, 3>& residual) {
  return {residual[0].value, residual[1].value, residual[2].value};
}

TEST(PointingResidual, ByHand) {
  // All poses are identities and both angles zero: q is the point itself.
  PointingProblem problem;
  problem.tilt_to_camera = problem.pan_to_tilt = problem.base_to_pan = Matrix4x4_f::Identity();
  problem.world = Vector3_f(2, 3, 5);
  problem.dev = Vector2_f(0.5F, 0.25F);
  problem.point_in_pan << 2, 3, 5, 1;
  const auto r = pointingResidual(problem, PanTiltDual(0, {1, 0}), PanTiltDual(0, {0, 1}));
  // (0.5, 0.25, 1) x (2, 3, 5).
  EXPECT_EQ(r[0].value, 0.25 * 5 - 3);
  EXPECT_EQ(r[1].value, 2 - 0.5 * 5);
  EXPECT_EQ(r[2].value, 0.5 * 3 - 0.25 * 2);
  // Either angle moves q by (-3, 2, 0) a radian; (0.5, 0.25, 1) x that.
  for (std::size_t variable = 0; variable < 2; ++variable) {
    EXPECT_EQ(r[0].derivatives[variable], -2);
    EXPECT_EQ(r[1].derivatives[variable], -3);
    EXPECT_EQ(r[2].derivatives[variable], 0.5 * 2 - 0.25 * -3);
  }
}

TEST(PointingResidual, ValuesAreThoseOfTheChainInDouble) {
  std::mt19937_64 random(64);
  double worst = 0;
  for (int trial = 0; trial < 1000; ++trial) {
    const PointingProblem problem = randomProblem(&random);
    const double pan = uniform(&random, -7, 7);
    const double tilt = uniform(&random, -7, 7);
    const Eigen::Vector3d actual = values(pointingResidual(problem, constant(pan), constant(tilt)));
    worst = std::max(worst, (actual - reference(problem, pan, tilt)).cwiseAbs().maxCoeff());
  }
  // Measured: 4e-15, which single precision anywhere would exceed a million times.
  EXPECT_LT(worst, 2e-14);
}

TEST(PointingResidual, JacobianIsDifferences) {
  std::mt19937_64 random(65);
  double worst = 0;
  for (int trial = 0; trial < 300; ++trial) {
    const PointingProblem problem = randomProblem(&random);
    const double pan = uniform(&random, -3, 3);
    const double tilt = uniform(&random, -3, 3);
    const auto r = pointingResidual(problem, PanTiltDual(pan, {1, 0}), PanTiltDual(tilt, {0, 1}));
    for (int i = 0; i < 3; ++i) {
      const double by_pan =
          numericDerivative([&](double x) { return reference(problem, x, tilt)[i]; }, pan);
      const double by_tilt =
          numericDerivative([&](double x) { return reference(problem, pan, x)[i]; }, tilt);
      const Derivatives& actual = r[static_cast<std::size_t>(i)].derivatives;
      worst = std::max({worst, std::abs(actual[0] - by_pan), std::abs(actual[1] - by_tilt)});
    }
  }
  // Measured: 4e-10, of derivatives up to 10.
  EXPECT_LT(worst, 2e-9);
}

TEST(PointingResidual, ConstantsHaveNoDerivatives) {
  std::mt19937_64 random(66);
  for (const PanTiltDual& r :
       pointingResidual(randomProblem(&random), constant(0.3), constant(-0.2))) {
    EXPECT_EQ(r.derivatives, (Derivatives{0, 0}));
    EXPECT_NE(r.value, 0);
  }
}

TEST(PointingResidual, VanishesOnTheLineOfTheRayBeforeTheCameraAndBehindIt) {
  std::mt19937_64 random(67);
  for (int trial = 0; trial < 300; ++trial) {
    const PanTiltSystemParameters head = testing::randomHead(&random);
    const double pan = uniform(&random, -3, 3);
    const double tilt = uniform(&random, -3, 3);
    const Vector2_f dev(static_cast<float>(uniform(&random, -1, 1)),
                        static_cast<float>(uniform(&random, -1, 1)));
    const Eigen::Matrix4d base_from_camera = testing::cameraFromBase(head, pan, tilt).inverse();
    for (const double depth : {4.0, 0.0, -4.0}) {
      const Eigen::Vector3d in_camera = depth * dev.cast<double>().homogeneous();
      const Eigen::Vector3d world = (base_from_camera * in_camera.homogeneous()).head<3>();
      const auto r = pointingResidual(makeProblem(head, world.cast<float>(), dev), constant(pan),
                                      constant(tilt));
      // The stored head and the point are rounded to float; measured: 1e-6.
      EXPECT_LT(values(r).norm(), 4e-6) << depth;
    }
  }
}

TEST(PointingResidual, UsesTheHomogeneousPointAsItStands) {
  std::mt19937_64 random(68);
  PointingProblem problem = randomProblem(&random);
  const Eigen::Vector3d before = values(pointingResidual(problem, constant(1), constant(2)));
  // The world point and the first pose are carried along only.
  problem.world = Vector3_f(9, 9, 9);
  problem.base_to_pan.setZero();
  EXPECT_EQ(values(pointingResidual(problem, constant(1), constant(2))), before);
  // Twice the point is twice the residual, weight included.
  problem.point_in_pan *= 2;
  EXPECT_EQ(values(pointingResidual(problem, constant(1), constant(2))), 2 * before);
  problem.point_in_pan(3) = 0;
  EXPECT_NE(values(pointingResidual(problem, constant(1), constant(2))), 2 * before);
}

}  // namespace
}  // namespace norv::internal
