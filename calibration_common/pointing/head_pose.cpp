#include "calibration_common/pointing/head_pose.h"

#include "support/numeric/matrix_rows.h"

namespace norv::internal {

Matrix4x4_f forwardPose(const PanTiltPoses& head, float pan_angle, float tilt_angle) {
  return toMatrix(toRows(head.tilt_to_camera.transform) * rotationZRows(tilt_angle) *
                  toRows(head.pan_to_tilt.transform) * rotationZRows(pan_angle) *
                  toRows(head.base_to_pan.transform));
}

}  // namespace norv::internal
