#include "support/camera_transform.h"

#include <Eigen/LU>

namespace norv {

void CameraTransform::setTransform(const Matrix4x4_f& m, MatrixType type) {
  // A copy, since `m` may be one of the two members that are written.
  const Matrix4x4_f given = m;
  const Matrix4x4_f inverted = given.inverse();
  transform = type == kForward ? given : inverted;
  inverse = type == kForward ? inverted : given;
}

Vector3_f CameraTransform::getCameraCenter() const { return inverse.col(3).head<3>(); }

}  // namespace norv
