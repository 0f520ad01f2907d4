#include "calibration_common/aiming/aim_task.h"

#include "calibration_common/pointing/head_pose.h"

namespace norv::internal {

using calibration::AimPlace;

AimTask::AimTask(const calibration::PTZCameraModel& asked_model,
                 const calibration::AimRequest& asked_request, const TargetOutline& target,
                 const calibration::ZoomRange& range)
    : model(asked_model),
      request(asked_request),
      outline(target),
      chain(model.getPanTiltModel(), outline.anchor()),
      pan(panJoint(model, request.now.pan)),
      tilt(tiltJoint(model, request.now.tilt)),
      zooms(range),
      size(model.getParams().intrinsics().image_width(),
           model.getParams().intrinsics().image_height()) {}

Eigen::Vector2d AimTask::placeIn(const FrozenLens& lens) const {
  if (request.place == AimPlace::kPixel) return request.pixel;
  return request.place == AimPlace::kPrincipalPoint ? lens.principalPoint() : 0.5 * size;
}

HeadPose AimTask::poseAt(int pan_steps, int tilt_steps) const {
  const calibration::PanTiltModel& head = model.getPanTiltModel();
  // Rounded as `PanTiltModel::getFullTransform` does.
  const float pan_angle =
      (static_cast<float>(pan_steps) - head.getPanOffset()) * head.getPanScale();
  const float tilt_angle =
      (static_cast<float>(tilt_steps) - head.getTiltOffset()) * head.getTiltScale();
  return widened(forwardPose({head.getBaseToPan(), head.getPanToTilt(), head.getTiltToCamera()},
                             pan_angle, tilt_angle));
}

}  // namespace norv::internal
