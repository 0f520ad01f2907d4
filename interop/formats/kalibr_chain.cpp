#include "interop/formats/kalibr_chain.h"

#include <fmt/format.h>

#include <Eigen/LU>
#include <cmath>
#include <cstddef>
#include <string>

#include "interop/formats/camera_fields.h"

namespace norv::interop {
namespace {

/// The pose, whose rotation must not be a reflection or less; how good it is, those who take it
/// over judge.
RigidPose poseOf(const Field& rows) {
  RigidPose pose = poseOfRows(rows);
  const double determinant = pose.rotation.determinant();
  if (!(determinant > 0 && std::isfinite(determinant))) {
    refuse(rows,
           fmt::format("has no rotation: its determinant is {:.6g}, which must be 1", determinant));
  }
  return pose;
}

/// A length for a person to read, of one decimal unless it is tiny or huge.
std::string millimetres(double metres) {
  const double length = metres * 1000;
  const bool is_usual = length >= 0.05 && length < 1e6;
  return is_usual ? fmt::format("{:.1f} mm", length) : fmt::format("{:.2g} mm", length);
}

/// Refuses a T_cn_cnm1 by which the camera's pose is `by_chain` where T_cam_imu says `pose`.
void checkAgreement(const Field& link, const RigidPose& by_chain, const RigidPose& pose) {
  const Eigen::Vector3d shift = by_chain.translation - pose.translation;
  const double turn = (by_chain.rotation - pose.rotation).cwiseAbs().maxCoeff();
  if (shift.cwiseAbs().maxCoeff() <= kMaxChainError && turn <= kMaxChainError) return;
  refuse(link, fmt::format("differs from what T_cam_imu of this camera and the one before it say "
                           "by {}, and by {:.2g} in the rotation's elements",
                           millimetres(shift.norm()), turn));
}

/// The pose of a camera behind one whose pose is `before`.
std::optional<RigidPose> poseBehind(const std::optional<RigidPose>& before,
                                    const KalibrPoses& poses, PeerFile* file) {
  std::optional<RigidPose> pose;
  if (poses.camera_from_imu) pose = poseOf(*poses.camera_from_imu);
  if (!poses.camera_from_previous) return pose;
  const Field& link = *poses.camera_from_previous;
  const RigidPose camera_from_previous = poseOf(link);
  if (!before) {
    file->not_taken_over.push_back({link.path, "the camera before it has no pose"});
    return pose;
  }
  const RigidPose by_chain = finitePose(link, compose(camera_from_previous, *before));
  if (!pose) return by_chain;
  checkAgreement(link, by_chain, *pose);
  return pose;
}

/// Without T_cam_imu of cam0 its frame is the parent, as long as a pose is told in it.
void setFirstPose(const std::vector<KalibrPoses>& poses, PeerFile* file) {
  PeerCamera& first = file->cameras[0];
  if (poses[0].camera_from_imu) {
    file->parent = "imu";
    first.camera_from_parent = poseOf(*poses[0].camera_from_imu);
    return;
  }
  for (const KalibrPoses& others : poses) {
    if (!others.camera_from_imu) continue;
    refuse(*others.camera_from_imu, "cam0 has none, so that the poses have no common frame");
  }
  if (poses.size() < 2 || !poses[1].camera_from_previous) return;
  file->parent = "cam0";
  first.camera_from_parent.emplace();
}

}  // namespace

void setKalibrPoses(const std::vector<KalibrPoses>& poses, PeerFile* file) {
  setFirstPose(poses, file);
  if (poses[0].camera_from_previous) {
    file->not_taken_over.push_back(
        {poses[0].camera_from_previous->path, "there is no camera before cam0"});
  }
  for (std::size_t i = 1; i < poses.size(); ++i) {
    file->cameras[i].camera_from_parent =
        poseBehind(file->cameras[i - 1].camera_from_parent, poses[i], file);
  }
}

}  // namespace norv::interop
