#pragma once

/// What a target covers in a picture.

#include <Eigen/Core>
#include <array>
#include <cstddef>
#include <optional>

#include "calibration_common/aiming/cover.h"
#include "calibration_common/aiming/frozen_lens.h"
#include "calibration_common/aiming/head_chain.h"
#include "calibration_common/ptz_aiming.h"

namespace norv::internal {

/// A target of the world: points, or a sphere.
class TargetOutline {
 public:
  static constexpr std::size_t kMaxOwnPoints = 4;

  explicit TargetOutline(const Eigen::Vector3d& point);
  explicit TargetOutline(const std::array<Eigen::Vector3d, kMaxOwnPoints>& corners);
  /// The points have to live as long.
  explicit TargetOutline(const calibration::PointsTarget& points);
  explicit TargetOutline(const calibration::SphereTarget& sphere);

  /// A point in the middle of it.
  const Eigen::Vector3d& anchor() const { return anchor_; }
  /// Of the sphere, metres; 0 for points.
  double radius() const { return radius_; }
  bool isOnePoint() const { return count_ == 1 && radius_ == 0; }

  /// What it covers in the picture of a camera.
  Cover coverIn(const HeadPose& camera_from_base, FrozenLens* lens) const;

 private:
  Eigen::Vector3d pointAt(std::size_t i) const;

  Eigen::Vector3d anchor_;
  double radius_ = 0;
  std::size_t count_ = 1;
  std::array<Eigen::Vector3d, kMaxOwnPoints> own_;
  std::optional<calibration::PointsTarget> others_;
};

}  // namespace norv::internal
