#include "calibration_common/pointing/head_pose.h"

#include "support/numeric/matrix_rows.h"

namespace norv::internal {

Matrix4x4_f forwardPose(const calibration::PanTiltModel& head, float pan, float tilt) {
  const auto pan_rotation = rotationZRows((pan - head.getPanOffset()) * head.getPanScale());
  const auto tilt_rotation = rotationZRows((tilt - head.getTiltOffset()) * head.getTiltScale());
  return toMatrix(toRows(head.getTiltToCamera().transform) * tilt_rotation *
                  toRows(head.getPanToTilt().transform) * pan_rotation *
                  toRows(head.getBaseToPan().transform));
}

}  // namespace norv::internal
