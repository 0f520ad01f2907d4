#pragma once

#include <Eigen/Core>

#include "calibration_common/aiming/head_chain.h"
#include "calibration_common/aiming/motor_joint.h"
#include "calibration_common/aiming/target_outline.h"
#include "calibration_common/ptz_aiming.h"

namespace norv::internal {

/// A request that makes sense, made ready. Model and request have to live as long.
struct AimTask {
  AimTask(const calibration::PTZCameraModel& asked_model,
          const calibration::AimRequest& asked_request, const TargetOutline& target,
          const calibration::ZoomRange& range);

  const calibration::PTZCameraModel& model;
  const calibration::AimRequest& request;
  TargetOutline outline;
  HeadChain chain;  ///< with the outline's anchor
  MotorJoint pan;
  MotorJoint tilt;
  calibration::ZoomRange zooms;
  Eigen::Vector2d size;  ///< of the picture, pixels

  bool wantsFill() const { return request.zoom == calibration::AimZoom::kFill; }

  /// Pixel at which the target is wanted.
  Eigen::Vector2d placeIn(const FrozenLens& lens) const;

  /// The camera at whole steps, its numbers rounded to single precision as they are in
  /// `PTZCameraModelConfiguration`.
  HeadPose poseAt(int pan_steps, int tilt_steps) const;
};

}  // namespace norv::internal
