#include "interop/rigid_pose.h"

#include <Eigen/Geometry>
#include <Eigen/LU>
#include <algorithm>
#include <cmath>

namespace norv::interop {
namespace {

/// The orthogonal factor of the polar decomposition, by Newton's iteration (Higham: Computing the
/// polar decomposition - with applications, SIAM J. Sci. Stat. Comput. 7, 1986). It doubles the
/// correct digits each time; matrices that are far from rotations need not get to the end.
Eigen::Matrix3d nearestRotation(Eigen::Matrix3d matrix) {
  constexpr int kMaxSteps = 20;
  constexpr double kExact = 2e-15;
  for (int i = 0; i < kMaxSteps; ++i) {
    const Eigen::Matrix3d excess = matrix.transpose() * matrix - Eigen::Matrix3d::Identity();
    if (excess.cwiseAbs().maxCoeff() <= kExact) break;
    matrix = (matrix + matrix.inverse().transpose()).eval() / 2;
  }
  return matrix;
}

}  // namespace

RigidPose compose(const RigidPose& a_from_b, const RigidPose& b_from_c) {
  return {a_from_b.rotation * b_from_c.rotation,
          a_from_b.rotation * b_from_c.translation + a_from_b.translation};
}

RigidPose inverse(const RigidPose& a_from_b) {
  const Eigen::Matrix3d rotation = a_from_b.rotation.inverse();
  return {rotation, -(rotation * a_from_b.translation)};
}

Eigen::Matrix3d rotationFromQuaternion(double w, double x, double y, double z) {
  // By a power of two, which rounds nothing: squares neither overflow nor vanish.
  const double size = std::max({std::abs(w), std::abs(x), std::abs(y), std::abs(z)});
  const int exponent = -std::ilogb(size);
  return Eigen::Quaterniond(std::scalbn(w, exponent), std::scalbn(x, exponent),
                            std::scalbn(y, exponent), std::scalbn(z, exponent))
      .normalized()
      .toRotationMatrix();
}

Eigen::Vector4d quaternionFromRotation(const Eigen::Matrix3d& rotation) {
  const Eigen::Quaterniond turn = Eigen::Quaterniond(nearestRotation(rotation)).normalized();
  const double sign = turn.w() < 0 ? -1 : 1;
  return {sign * turn.w(), sign * turn.x(), sign * turn.y(), sign * turn.z()};
}

Eigen::Matrix3d rotationFromVector(const Eigen::Vector3d& vector) {
  const double angle = vector.norm();
  if (angle == 0) return Eigen::Matrix3d::Identity();
  return Eigen::AngleAxisd(angle, vector / angle).toRotationMatrix();
}

Eigen::Vector3d vectorFromRotation(const Eigen::Matrix3d& rotation) {
  const Eigen::Vector4d turn = quaternionFromRotation(rotation);
  const Eigen::Vector3d half = turn.tail<3>();
  const double sine = half.norm();
  if (sine == 0) return Eigen::Vector3d::Zero();
  return half * (2 * std::atan2(sine, turn[0]) / sine);
}

}  // namespace norv::interop
