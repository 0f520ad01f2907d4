#include "interop/rigid_pose.h"

#include <gtest/gtest.h>

#include <Eigen/Geometry>
#include <Eigen/SVD>
#include <cmath>
#include <random>

namespace norv::interop {
namespace {

constexpr double kPi = 3.141592653589793;

Eigen::Vector3d randomVector(std::mt19937* random, double bound) {
  std::uniform_real_distribution<double> number(-bound, bound);
  return {number(*random), number(*random), number(*random)};
}

/// The rotation by its definition: what is along the axis stays, the rest turns.
Eigen::Vector3d turn(const Eigen::Vector3d& vector, const Eigen::Vector3d& p) {
  const double angle = vector.norm();
  const Eigen::Vector3d axis = vector / angle;
  const Eigen::Vector3d along = axis * axis.dot(p);
  return along + (p - along) * std::cos(angle) + axis.cross(p) * std::sin(angle);
}

TEST(RigidPose, ComposesAndInvertsAsPointsDo) {
  std::mt19937 random(1);
  for (int i = 0; i < 100; ++i) {
    const RigidPose a_from_b{rotationFromVector(randomVector(&random, 3)),
                             randomVector(&random, 5)};
    const RigidPose b_from_c{rotationFromVector(randomVector(&random, 3)),
                             randomVector(&random, 5)};
    const Eigen::Vector3d in_c = randomVector(&random, 10);
    const Eigen::Vector3d in_b = b_from_c.rotation * in_c + b_from_c.translation;
    const Eigen::Vector3d in_a = a_from_b.rotation * in_b + a_from_b.translation;
    const RigidPose a_from_c = compose(a_from_b, b_from_c);
    EXPECT_LT((a_from_c.rotation * in_c + a_from_c.translation - in_a).norm(), 1e-14 * 40);
    const RigidPose b_from_a = inverse(a_from_b);
    EXPECT_LT((b_from_a.rotation * in_a + b_from_a.translation - in_b).norm(), 1e-14 * 40);
  }
}

TEST(RigidPose, TheIdentityComposesAndInvertsToTheSameBits) {
  const RigidPose pose{rotationFromVector({0.1, 0.2, 0.3}), {0.4, 0.5, 0.6}};
  const RigidPose same = compose(pose, inverse(RigidPose{}));
  EXPECT_EQ(same.rotation, pose.rotation);
  EXPECT_EQ(same.translation, pose.translation);
}

TEST(RigidPose, ARotationOfFewDigitsIsInvertedAndNotTransposed) {
  RigidPose pose;
  pose.rotation = rotationFromVector({0.3, -0.2, 0.9});
  pose.rotation = (pose.rotation * 1000).array().round().matrix() / 1000;
  const RigidPose round = compose(inverse(pose), pose);
  EXPECT_LT((round.rotation - Eigen::Matrix3d::Identity()).norm(), 1e-15 * 4);
}

TEST(RotationFromVector, TurnsByTheVectorsLength) {
  std::mt19937 random(2);
  for (int i = 0; i < 100; ++i) {
    const Eigen::Vector3d vector = randomVector(&random, 4);
    const Eigen::Vector3d p = randomVector(&random, 1);
    EXPECT_LT((rotationFromVector(vector) * p - turn(vector, p)).norm(), 4e-15);
  }
  EXPECT_EQ(rotationFromVector({0, 0, 0}), Eigen::Matrix3d::Identity());
}

TEST(VectorFromRotation, IsTheInverseUpToHalfATurn) {
  std::mt19937 random(3);
  for (const double length : {1e-12, 1e-6, 0.1, 1.0, 3.0, kPi - 1e-9}) {
    for (int i = 0; i < 20; ++i) {
      const Eigen::Vector3d vector = randomVector(&random, 1).normalized() * length;
      EXPECT_LT((vectorFromRotation(rotationFromVector(vector)) - vector).norm(),
                4e-15 * std::max(1.0, length))
          << length;
    }
  }
  const Eigen::Vector3d half_turn(0, kPi, 0);
  EXPECT_LT((vectorFromRotation(rotationFromVector(half_turn)).cwiseAbs() - half_turn).norm(),
            1e-15 * 4);
}

TEST(RotationFromQuaternion, NormalisesAndHasTheOrderOfHamilton) {
  // 90 degrees about z take x to y.
  const Eigen::Matrix3d rotation = rotationFromQuaternion(3, 0, 0, 3);
  EXPECT_LT((rotation * Eigen::Vector3d::UnitX() - Eigen::Vector3d::UnitY()).norm(), 1e-15);
  std::mt19937 random(4);
  for (int i = 0; i < 100; ++i) {
    const Eigen::Matrix3d turned = rotationFromVector(randomVector(&random, 4));
    const Eigen::Vector4d q = quaternionFromRotation(turned);
    EXPECT_GE(q[0], 0);
    EXPECT_NEAR(q.norm(), 1, 1e-15 * 2);
    EXPECT_LT((rotationFromQuaternion(q[0], q[1], q[2], q[3]) - turned).norm(), 4e-15);
  }
}

TEST(QuaternionFromRotation, IsOfTheNearestRotation) {
  std::mt19937 random(5);
  for (int i = 0; i < 100; ++i) {
    const Eigen::Matrix3d exact = rotationFromVector(randomVector(&random, 4));
    const Eigen::Matrix3d rounded = (exact * 1000).array().round().matrix() / 1000;
    const Eigen::JacobiSVD<Eigen::Matrix3d> svd(rounded, Eigen::ComputeFullU | Eigen::ComputeFullV);
    const Eigen::Matrix3d nearest = svd.matrixU() * svd.matrixV().transpose();
    for (const double scale : {1.0, 0.125, 64.0}) {
      const Eigen::Vector4d q = quaternionFromRotation(rounded * scale);
      EXPECT_LT((rotationFromQuaternion(q[0], q[1], q[2], q[3]) - nearest).norm(), 1e-14);
    }
  }
}

TEST(RotationFromQuaternion, IsTheSameForAnyLength) {
  const Eigen::Matrix3d rotation = rotationFromQuaternion(0.4, -0.7, 0.1, 0.3);
  for (const double length : {0x1p-1060, 0x1p-600, 0x1p600, 0x1p1023}) {
    // The shortest has no more than 14 bits left.
    const double tolerance = length < 1e-310 ? 1e-3 : 0;
    const Eigen::Matrix3d scaled =
        rotationFromQuaternion(0.4 * length, -0.7 * length, 0.1 * length, 0.3 * length);
    EXPECT_LE((scaled - rotation).cwiseAbs().maxCoeff(), tolerance) << length;
  }
}

}  // namespace
}  // namespace norv::interop
