#include "support/point_derivatives.h"

namespace norv::calibration {

DerivativeRows<6> byPose(const ProjectionJacobian& jacobian,
                         const Eigen::Vector3d& point_in_camera) {
  const double x = point_in_camera.x();
  const double y = point_in_camera.y();
  const double z = point_in_camera.z();
  Eigen::Matrix3d minus_cross;
  minus_cross << 0, z, -y, -z, 0, x, y, -x, 0;
  DerivativeRows<6> result;
  result.leftCols<3>() = jacobian.point;
  result.rightCols<3>() = jacobian.point * minus_cross;
  return result;
}

}  // namespace norv::calibration
