#include "interop/formats/written_pose.h"

#include <fmt/format.h>

#include <Eigen/LU>

#include "interop/formats/written_camera.h"

namespace norv::interop {
namespace {

/// By what an element of a rotation may differ from that of the next one without being mentioned,
/// and at most.
constexpr double kExactTurn = 1e-12;
constexpr double kMaxTurnError = 1e-3;

/// So that poses can be composed and inverted within the range of double.
constexpr double kMaxMetres = 1e100;

/// By how much an element of the pose's rotation differs from that of the rotation next to it.
double turnError(const RigidPose& pose) {
  const Eigen::Vector4d q = quaternionFromRotation(pose.rotation);
  return (rotationFromQuaternion(q[0], q[1], q[2], q[3]) - pose.rotation).cwiseAbs().maxCoeff();
}

}  // namespace

std::optional<std::string> findUnwritablePose(const WrittenCamera& camera) {
  if (!camera.camera_from_parent) return std::nullopt;
  const RigidPose& pose = *camera.camera_from_parent;
  const std::string name = callCamera(camera);
  if (!pose.rotation.allFinite() || !pose.translation.allFinite()) {
    return name + " has a pose with a number that is not finite";
  }
  if (pose.translation.cwiseAbs().maxCoeff() > kMaxMetres) {
    return fmt::format("{} has a pose of more than {} m", name, kMaxMetres);
  }
  const double determinant = pose.rotation.determinant();
  if (!(determinant > 0)) {
    return fmt::format("{} has a pose whose rotation has the determinant {:.6g}, which must be 1",
                       name, determinant);
  }
  const double error = turnError(pose);
  if (error <= kMaxTurnError) return std::nullopt;
  return fmt::format("{} has a pose whose rotation is {:.2g} off the next one", name, error);
}

std::optional<std::string> noteOnTurn(const WrittenCamera& camera) {
  if (!camera.camera_from_parent) return std::nullopt;
  const double error = turnError(*camera.camera_from_parent);
  if (error <= kExactTurn) return std::nullopt;
  return fmt::format("{} has a rotation that the written one misses by {:.2g}", callCamera(camera),
                     error);
}

}  // namespace norv::interop
