#include "support/camera_matrix.h"

namespace norv::calibration {

Eigen::Matrix3d cameraMatrix(const CameraModel& camera, PixelOrigin origin) {
  const double shift = origin == PixelOrigin::kPixelCentre ? 0.5 : 0;
  Eigen::Matrix3d k;
  k << camera.fx, camera.skew, camera.cx - shift,  //
      0, camera.fy, camera.cy - shift,             //
      0, 0, 1;
  return k;
}

}  // namespace norv::calibration
